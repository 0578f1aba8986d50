"""What the tests of the command-line client share: a server in this process that answers with the
bytes the case names, however broken they are, and keeps the requests; and a way to run the client.

Usage of the tests: NAME_test.py PATH-OF-QVHTTP [unittest arguments]
"""

import os
import pathlib
import pty
import socket
import subprocess
import sys
import tempfile
import threading
import time
import unittest

RUN_LIMIT_SECONDS = 60


def response(status="200 OK", body=b"", *fields):
    head = [f"HTTP/1.1 {status}", f"Content-Length: {len(body)}", *fields]
    return "\r\n".join(head).encode() + b"\r\n\r\n" + body


def chunked(encoded, *fields):
    head = ["HTTP/1.1 200 OK", "Transfer-Encoding: chunked", *fields]
    return "\r\n".join(head).encode() + b"\r\n\r\n" + encoded


def wait_until(condition, what):
    """Waits for a state, and fails when it does not come."""
    end = time.monotonic() + RUN_LIMIT_SECONDS
    while not condition():
        if time.monotonic() > end:
            raise AssertionError("waited in vain: " + what)
        time.sleep(0.005)


class Request:
    """What a server has received over one connection."""

    def __init__(self):
        self.raw = bytearray()

    @property
    def line(self):
        return bytes(self.raw).split(b"\r\n")[0].decode()

    @property
    def method(self):
        return self.line.split()[0]

    @property
    def target(self):
        return self.line.split()[1]

    @property
    def body(self):
        return bytes(self.raw).partition(b"\r\n\r\n")[2]

    @property
    def fields(self):
        lines = bytes(self.raw).partition(b"\r\n\r\n")[0].decode().split("\r\n")[1:]
        return {line.split(":")[0].lower(): line.partition(":")[2].strip() for line in lines}


class Server:
    """Answers every connection.

    An answer is the bytes to send, None to stay silent until the test ends, or a function of the
    request and the connection that returns either. A list has the answers of one connection after
    the other.
    """

    def __init__(self, answer, read_body=True, tls=None):
        self.requests = []
        self.done = threading.Event()
        self._answers = answer if isinstance(answer, list) else None
        self._answer = answer
        self._read_body = read_body
        self._tls = tls  # context of a server with a certificate
        self._listener = socket.create_server(("127.0.0.1", 0))
        self.port = self._listener.getsockname()[1]
        self.base = "http://127.0.0.1:%d" % self.port
        self._threads = [threading.Thread(target=self._accept)]

    def __enter__(self):
        self._threads[0].start()
        return self

    def __exit__(self, *unused):
        self.done.set()
        self._listener.shutdown(socket.SHUT_RDWR)  # ends an accept that still waits
        for thread in self._threads:
            thread.join()
        self._listener.close()

    @property
    def request(self):
        """All bytes of the first request."""
        return bytes(self.requests[0].raw) if self.requests else b""

    @property
    def request_line(self):
        return self.requests[0].line

    @property
    def body(self):
        return self.requests[0].body

    def _accept(self):
        while True:
            try:
                connection, _ = self._listener.accept()
            except OSError:
                return
            thread = threading.Thread(target=self._serve, args=(connection,))
            self._threads.append(thread)
            thread.start()

    def _serve(self, connection):
        connection.settimeout(RUN_LIMIT_SECONDS)
        try:
            if self._tls:
                connection = self._tls.wrap_socket(connection, server_side=True)
            with connection:
                self._converse(connection)
        except OSError:
            pass  # the client has seen enough

    def _converse(self, connection):
        request = Request()
        self._read(request, connection)
        self.requests.append(request)
        answer = self._answer
        if self._answers is not None:
            answer = self._answers[len(self.requests) - 1]
        if callable(answer):
            answer = answer(request, connection)
        if answer is None:
            self.done.wait(RUN_LIMIT_SECONDS)
        else:
            connection.sendall(answer)
        if self._tls:
            connection.unwrap()

    def _read(self, request, connection):
        def receive():
            data = connection.recv(1 << 20)
            request.raw += data
            return data

        while b"\r\n\r\n" not in request.raw and receive():
            pass
        if not self._read_body:
            return
        whole = request.raw.find(b"\r\n\r\n") + 4 + int(request.fields.get("content-length", "0"))
        while len(request.raw) < whole and receive():
            pass


class Terminal:
    """A terminal as standard error of the client, and what was shown on it."""

    def __init__(self):
        self._reader, self.writer = pty.openpty()
        self._shown = b""
        self._thread = threading.Thread(target=self._read)

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *unused):
        os.close(self.writer)
        self._thread.join()
        os.close(self._reader)

    def _read(self):
        while True:
            try:
                data = os.read(self._reader, 65536)
            except OSError:  # the last writer is gone
                return
            self._shown += data

    @property
    def shown(self):
        return self._shown.decode()


class ToolTest(unittest.TestCase):
    program = ""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.temporary = pathlib.Path(temporary.name)
        self.environment = {**os.environ, "TMPDIR": temporary.name}

    def tearDown(self):
        self.assertEqual(list(self.temporary.iterdir()), [])

    def run_tool(self, *arguments, stdin=b""):
        result = subprocess.run(
            [self.program, *map(str, arguments)], input=stdin, capture_output=True, check=False,
            timeout=RUN_LIMIT_SECONDS, env=self.environment)
        self.assertNotIn(b"Sanitizer", result.stderr)
        self.assertNotIn(b"runtime error", result.stderr)
        return result

    def start_tool(self, *arguments, stderr=subprocess.PIPE, **options):
        """Starts the client; what is left of it at the end of the test is ended."""
        process = subprocess.Popen(
            [self.program, *map(str, arguments)], stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=stderr, env=self.environment, **options)

        def end():
            if process.poll() is None:
                process.kill()
            process.communicate()

        self.addCleanup(end)
        return process

    def exchange(self, answer, *arguments, path="/thing", stdin=b""):
        """Runs the client with the server's URL in place of the argument URL."""
        with Server(answer) as server:
            result = self.run_tool(
                *[server.base + path if a == "URL" else a for a in arguments], stdin=stdin)
        return result, server

    def assert_exit(self, result, code):
        self.assertEqual(result.returncode, code, result.stderr.decode())

    def names(self):
        """What is in the test's folder."""
        return sorted(path.name for path in self.folder.iterdir())


def main():
    ToolTest.program = sys.argv.pop(1)
    unittest.main(module="__main__")
