"""The command-line client on a terminal: Ctrl-C and the line of progress.

Usage: qvhttp_terminal_test.py PATH-OF-QVHTTP [unittest arguments]
"""

import gzip
import os
import pathlib
import signal
import socket
import threading

import qvhttp_support
from qvhttp_support import (
    RUN_LIMIT_SECONDS, Server, Terminal, ToolTest, response, wait_until)

TAG = 'ETag: "v1"'
PATIENT = ("--timeout", str(10 * RUN_LIMIT_SECONDS))  # it is not a time-out that ends a run
TCP_SYN_SENT = "02"  # in /proc/net/tcp


def is_connecting(pid):
    """Whether one of the process's sockets waits for the answer of a server."""
    entries = [line.split() for line in
               pathlib.Path("/proc/net/tcp").read_text().splitlines()[1:]]
    connecting = {f"socket:[{entry[9]}]" for entry in entries if entry[3] == TCP_SYN_SENT}
    for descriptor in pathlib.Path(f"/proc/{pid}/fd").iterdir():
        try:
            if os.readlink(descriptor) in connecting:
                return True
        except OSError:
            pass  # closed meanwhile
    return False


class TerminalTest(ToolTest):
    def interrupt(self, tool, stderr=b"qvhttp: interrupted\n"):
        tool.send_signal(signal.SIGINT)
        _, errors = tool.communicate(timeout=RUN_LIMIT_SECONDS)
        self.assertEqual(tool.returncode, 130, errors)
        self.assertEqual(errors, stderr)

    # ---- Ctrl-C -----------------------------------------------------------------------------

    def test_interrupted_in_the_middle_of_a_download(self):
        target, part = self.folder / "target", self.folder / ".target.part"
        target.write_bytes(b"old")
        for field, left in ((TAG, [".target.part", ".target.part.meta"]), ("X-Other: 1", [])):
            head = f"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n{field}\r\n\r\nhalf".encode()
            with self.subTest(field), Server(lambda _, c, head=head: c.sendall(head)) as server:
                tool = self.start_tool("get", server.base + "/x", "-o", target, *PATIENT)
                wait_until(lambda: part.exists() and part.read_bytes() == b"half", "half")
                self.interrupt(tool)
                self.assertEqual(self.names(), left + ["target"])
                self.assertEqual(target.read_bytes(), b"old")
                for name in left:
                    (self.folder / name).unlink()

    def test_interrupted_before_the_response(self):
        for command in (("get",), ("head",), ("get", "--compressed"), ("post", "--data", "x")):
            with self.subTest(command), Server(None) as server:
                tool = self.start_tool(*command, server.base + "/x", *PATIENT)
                wait_until(lambda: server.requests, "the request")
                self.interrupt(tool)

    def test_interrupted_in_the_middle_of_an_upload(self):
        for size in (32 << 20, 65 << 20):  # from memory, and from the file
            file = self.folder / "file"
            file.write_bytes(b"")
            os.truncate(file, size)
            with self.subTest(size), Server(None, read_body=False) as server:
                tool = self.start_tool("put", server.base + "/x", file, *PATIENT)
                wait_until(lambda: server.requests, "the request")
                self.interrupt(tool)

    def test_interrupted_while_it_connects(self):
        with socket.create_server(("127.0.0.1", 0), backlog=0) as listener, \
                socket.socket() as first, socket.socket() as second:
            for connection in (first, second):  # fill the queue: nothing answers any more
                connection.setblocking(False)
                connection.connect_ex(listener.getsockname())
            tool = self.start_tool("get", "http://127.0.0.1:%d/" % listener.getsockname()[1],
                                   *PATIENT)
            wait_until(lambda: is_connecting(tool.pid), "the connect")
            self.interrupt(tool)

    def test_ignored_signal_stays_ignored(self):
        released = threading.Event()

        def answer(*_):
            released.wait(RUN_LIMIT_SECONDS)
            return response("200 OK", b"x")

        with Server(answer) as server:
            tool = self.start_tool("get", server.base, preexec_fn=lambda: signal.signal(
                signal.SIGINT, signal.SIG_IGN))
            wait_until(lambda: server.requests, "the request")
            tool.send_signal(signal.SIGINT)
            released.set()
            output, _ = tool.communicate(timeout=RUN_LIMIT_SECONDS)
        self.assertEqual((tool.returncode, output), (0, b"x"))

    # ---- Progress ---------------------------------------------------------------------------

    def run_on_terminal(self, *arguments, then=lambda terminal: None):
        """Runs the client; `then` is what happens while it runs. Returns what was shown."""
        with Terminal() as terminal:
            tool = self.start_tool(*arguments, stderr=terminal.writer)
            then(terminal)
            tool.wait(RUN_LIMIT_SECONDS)
        self.assertEqual(tool.returncode, 0, terminal.shown)
        return terminal.shown

    def test_progress_of_a_download(self):
        size, start = 3 << 20, 1 << 20
        for name, field, early, late in (
                ("length", f"Content-Length: {size}\r\n", "33%", "100%  3.0 MiB of 3.0 MiB"),
                ("no length", "", "1.0 MiB", "3.0 MiB  ")):
            with self.subTest(name):
                seen = threading.Event()

                def answer(_, connection, field=field, seen=seen):
                    connection.sendall(f"HTTP/1.1 200 OK\r\n{field}\r\n".encode() + bytes(start))
                    sent = start
                    while not seen.wait(0.005):  # the line is drawn when something has come
                        sent += connection.send(b"\0")
                    return bytes(size - sent)

                def see_early(terminal, early=early, seen=seen):
                    try:
                        wait_until(lambda: early in terminal.shown, early)
                    finally:
                        seen.set()

                with Server(answer) as server:
                    shown = self.run_on_terminal(
                        "get", server.base, "-o", self.folder / "target", then=see_early)
                lines = shown.replace("\x1b[K", "").strip().split("\r")
                self.assertIn(late, lines[-1])
                self.assertTrue(all("/s" in line for line in lines if line), lines)

    def test_progress_of_other_transfers(self):
        text = os.urandom(1 << 20).hex().encode()
        file = self.folder / "file"
        file.write_bytes(text)
        packed = response("200 OK", gzip.compress(text), "Content-Encoding: gzip")
        for arguments, answer in ((("put", "URL", file), response()),
                                  (("post", "URL", "--data", f"@{file}"), response()),
                                  (("get", "URL", "--compressed", "-o", file), packed)):
            with self.subTest(arguments), Server(answer) as server:
                shown = self.run_on_terminal(
                    *[server.base if a == "URL" else a for a in arguments])
                self.assertRegex(shown, r"100%  (\S+ MiB) of \1  \S+ [KMG]?i?B/s")

    def test_no_progress_where_there_is_no_terminal(self):
        with Server(response("200 OK", bytes(1 << 20))) as server:
            result = self.run_tool("get", server.base, "-o", self.folder / "target")
        self.assert_exit(result, 0)
        self.assertEqual(result.stderr, b"")


if __name__ == "__main__":
    qvhttp_support.main()
