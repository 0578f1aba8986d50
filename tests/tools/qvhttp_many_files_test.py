"""The command-line client's downloads of many files: several at a time, and a list that is gone on
with after an interruption.

Usage: qvhttp_many_files_test.py PATH-OF-QVHTTP [unittest arguments]
"""

import gzip
import os
import signal
import socket
import threading

import qvhttp_support
from qvhttp_support import (
    RUN_LIMIT_SECONDS, Server, Terminal, ToolTest, chunked, response, wait_until)

BODY = os.urandom(100_000)
TAG = 'ETag: "v1"'


class ManyFilesTest(ToolTest):
    def setUp(self):
        super().setUp()
        self.target = self.folder / "target"
        self.list = self.folder / "list"

    def files(self):
        return {path.name: path.read_bytes() for path in self.target.iterdir()}

    def download(self, server, *paths, options=()):
        urls = [path if path.startswith("http") else server.base + path for path in paths]
        return self.run_tool("download", *urls, "-d", self.target, *options)

    def queue(self, *lines, options=()):
        self.list.write_text("\n".join(lines) + "\n")
        return self.run_tool("queue", self.list, "-d", self.target, *options)

    # ---- Several at a time ------------------------------------------------------------------

    def test_as_many_at_a_time_as_asked_for(self):
        at_once = threading.Barrier(3)
        most, busy, lock = [0], [0], threading.Lock()

        def answer(request, _):
            with lock:
                busy[0] += 1
                most[0] = max(most[0], busy[0])
            at_once.wait(RUN_LIMIT_SECONDS)
            with lock:
                busy[0] -= 1
            return response("200 OK", request.target.encode())

        names = "abcdef"
        with Server(answer) as server:
            result = self.download(server, *["/" + name for name in names], options=("-j", "3"))
        self.assert_exit(result, 0)
        self.assertEqual(most, [3])
        self.assertEqual(self.files(), {name: f"/{name}".encode() for name in names})
        self.assertEqual(sorted(result.stdout.decode().splitlines()), [
            f"{server.base}/{name} -> {self.target / name}, 2 bytes" for name in names])
        self.assertEqual(result.stderr, b"")

    def test_each_failure_has_its_sentence(self):
        with socket.create_server(("127.0.0.1", 0)) as listener:
            refused = "http://127.0.0.1:%d/gone" % listener.getsockname()[1]
        packed = gzip.compress(b"x")
        answers = {
            "/good": response("200 OK", BODY), "/missing": response("404 Not Found", b"page"),
            "/broken": response("500 Oops", b"page"), "/moved": response("302 Found", b"page"),
            "/short": b"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nabc",
            "/cut": chunked(b"5\r\nab"), "/chunks": chunked(b"2\r\nab\r\n0\r\n\r\n"),
            "/empty": response(), "/packed": response("200 OK", packed, "Content-Encoding: gzip"),
        }
        sentences = {"/missing": b"answered: 404 Not Found", "/broken": b"answered: 500 Oops",
                     "/moved": b"302 Found", "/short": b"3 of 100", "/cut": b"",
                     refused: b"refused"}
        self.target.mkdir()
        for name in ("good", "short"):
            (self.target / name).write_bytes(b"old")
        with Server(lambda request, _: answers[request.target]) as server:
            result = self.download(server, refused, *answers)
        self.assert_exit(result, 3)
        self.assertEqual(self.files(), {
            "good": BODY, "short": b"old", "chunks": b"ab", "empty": b"",
            "packed": packed})
        lines = result.stderr.splitlines()
        self.assertEqual(len(lines), len(sentences), lines)
        for path, text in sentences.items():
            url = path if path == refused else server.base + path
            found = [line for line in lines if line.startswith(f"qvhttp: {url}: ".encode())]
            self.assertEqual(len(found), 1, lines)
            self.assertIn(text, found[0])
        self.assertEqual(len(result.stdout.splitlines()), 4)

    def test_names_stay_in_the_folder(self):
        paths = {"/a%2F..%2F..%2Fescaped": "a_.._.._escaped", "/..%2f..%2fx": "_._.._x",
                 "/.profile": "_profile", "/": "index.html", "/a/%1B%5Bm": "_[m", "/%25n": "%n",
                 "/x.txt": "x.txt", "/y/x.txt": "x-2.txt", "/x.txt?q=/../1": "x-3.txt",
                 "/" + "n" * 300: "n" * 200, "/a%5Cb": "a_b", "/%C3%A4.txt": "ä.txt",
                 "/part#2": "part", "?only=query": "index-2.html"}
        with Server(lambda request, _: response("200 OK", request.target.encode())) as server:
            result = self.download(server, *paths)
            self.assert_exit(result, 0)
            self.assertEqual(sorted(self.files()), sorted(paths.values()))
        self.assertEqual(self.files()["part"], b"/part")
        self.assertEqual(self.files()["x-3.txt"], b"/x.txt?q=/../1")
        self.assertNotIn(b"\x1b", result.stdout)
        self.assertEqual(self.names(), ["target"])

    def test_redirects(self):
        def answer(request, _):
            if request.target == "/to":
                return response("200 OK", b"there")
            return response("302 Found", b"page", "Location: /to")

        with Server(answer) as server:
            self.assert_exit(self.download(server, "/from", options=("--follow",)), 0)
            self.assertEqual(self.files(), {"from": b"there"})
            result = self.queue(server.base + "/other", options=("--follow",))
            self.assert_exit(result, 0)
            self.assertEqual(self.files()["other"], b"there")
            self.assert_exit(self.queue(server.base + "/third"), 23)

    def test_ctrl_c_ends_all_transfers(self):
        head = f"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n{TAG}\r\n\r\nhalf".encode()
        with Server(lambda _, connection: connection.sendall(head)) as server:
            tool = self.start_tool("download", *[f"{server.base}/{n}" for n in "abc"], "-j", "2",
                                   "-d", self.target, "--timeout", str(10 * RUN_LIMIT_SECONDS))
            parts = [self.target / f".{name}.part" for name in "ab"]
            wait_until(lambda: all(p.exists() and p.read_bytes() == b"half" for p in parts), "half")
            tool.send_signal(signal.SIGINT)
            _, errors = tool.communicate(timeout=RUN_LIMIT_SECONDS)
            self.assertEqual((tool.returncode, errors), (130, b"qvhttp: interrupted\n"))
            self.assertFalse(any(b"/c" in request.raw for request in server.requests))
        self.assertEqual(sorted(self.files()), [
            ".a.part", ".a.part.meta", ".b.part", ".b.part.meta"])
        with Server(lambda request, _: self.rest_of(request, b"half+rest")) as again:
            url = again.base + "/a"
            meta = self.target / ".a.part.meta"
            meta.write_text(meta.read_text().replace(str(server.port), str(again.port)))
            self.assert_exit(self.run_tool("get", url, "-o", self.target / "a", "--resume"), 0)
        self.assertEqual(self.files()["a"], b"half+rest")

    def rest_of(self, request, whole):
        """The answer to a request for the rest of a resource."""
        start = int(request.fields["range"].removeprefix("bytes=").removesuffix("-"))
        self.assertEqual(request.fields["if-range"], '"v1"')
        return response("206 Partial Content", whole[start:], TAG,
                        f"Content-Range: bytes {start}-{len(whole) - 1}/{len(whole)}")

    def test_a_line_of_progress_for_each_transfer(self):
        seen = threading.Event()

        def answer(_, connection):
            head = b"HTTP/1.1 200 OK\r\nContent-Length: 4194304\r\n\r\n"
            connection.sendall(head + bytes(1 << 20))
            seen.wait(RUN_LIMIT_SECONDS)
            return bytes(3 << 20)

        with Terminal() as terminal, Server(answer) as server:
            tool = self.start_tool("download", server.base + "/a", server.base + "/b", "-d",
                                   self.target, stderr=terminal.writer)
            try:
                for name in "ab":
                    line = rf"\n?{name}  [^\n]*25%  1.0 MiB of 4.0 MiB [^\n]*/s  \S+ left"
                    wait_until(lambda: self.matches(line, terminal.shown), "progress of " + name)
            finally:
                seen.set()
            self.assertEqual(tool.wait(RUN_LIMIT_SECONDS), 0)
        self.assertTrue(terminal.shown.endswith("\x1b[J"))

    def matches(self, pattern, text):
        try:
            self.assertRegex(text, pattern)
        except AssertionError:
            return False
        return True

    # ---- A list -----------------------------------------------------------------------------

    def test_list_of_files(self):
        with Server(lambda request, _: response(
                "404 Not Found" if request.target == "/no" else "200 OK", BODY)) as server:
            base = server.base
            lines = ("# a list", "", f"  {base}/a.bin", f"{base}/no", f"{base}/b\tnamed \"b\".bin",
                     f"{base}/a.bin\r", f"{base}/last")
            result = self.queue(*lines)
            self.assert_exit(result, 22)
            self.assertEqual(sorted(self.files()), [
                "a-2.bin", "a.bin", "last", "named \"b\".bin"])
            self.assertEqual(set(self.files().values()), {BODY})
            self.assertEqual(result.stdout.decode().splitlines(), [
                "a.bin                100000  fetched", "no                        0  failed",
                "named \"b\".bin        100000  fetched", "a-2.bin              100000  fetched",
                "last                 100000  fetched"])
            self.assertEqual(result.stderr, f"qvhttp: {base}/no: the server answered: 404 Not "
                             "Found\n".encode())
            count = len(server.requests)
            again = self.queue(*lines)
            self.assert_exit(again, 22)
            self.assertEqual([r.target for r in server.requests[count:]], ["/no"])
            self.assertEqual(again.stdout.count(b"there already"), 4)

    def test_bodies_that_are_cut(self):
        answers = {"/short": b"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nabc",
                   "/cut": chunked(b"5\r\nab"), "/chunks": chunked(b"2\r\nab\r\n0\r\n\r\n")}
        with Server(lambda request, _: answers[request.target]) as server:
            result = self.queue(*[server.base + path for path in answers])
        self.assert_exit(result, 5)
        self.assertIn(b"3 of 100", result.stderr)
        self.assertEqual(self.files(), {"chunks": b"ab"})

    def test_interrupted_list_goes_on(self):
        first = threading.Event()

        def answer(request, connection):
            if request.target == "/a" or first.is_set() and request.target == "/c":
                return response("200 OK", BODY, TAG)
            if first.is_set():
                return self.rest_of(request, BODY)
            head = f"HTTP/1.1 200 OK\r\nContent-Length: {len(BODY)}\r\n{TAG}\r\n\r\n".encode()
            connection.sendall(head + BODY[:5000])
            return None

        part = self.target / ".b.part"
        for number in (signal.SIGINT, signal.SIGKILL):
            first.clear()
            with self.subTest(number), Server(answer) as server:
                lines = [f"{server.base}/{name}" for name in "abc"]
                self.list.write_text("\n".join(lines))
                tool = self.start_tool("queue", self.list, "-d", self.target, "--timeout", "60")
                wait_until(lambda: part.exists() and part.stat().st_size == 5000, "a part")
                tool.send_signal(number)
                tool.communicate(timeout=RUN_LIMIT_SECONDS)
                self.assertIn(tool.returncode, (130, -signal.SIGKILL))
                first.set()
                count = len(server.requests)
                result = self.queue(*lines, options=("--timeout", "60"))
                self.assert_exit(result, 0)
                targets = [request.target for request in server.requests[count:]]
                self.assertEqual(sorted(targets), ["/b", "/c"] if number == signal.SIGINT
                                 else ["/a", "/b", "/c"])
                self.assertEqual(self.files(), {name: BODY for name in "abc"})
                self.assertIn(b"completed", result.stdout.splitlines()[1])
            for path in self.target.iterdir():
                path.unlink()

    def test_lists_that_are_refused(self):
        with Server(response("200 OK", b"x")) as server:
            good = server.base + "/a"
            for line in (good + " ../b", good + " a/b", good + " .hidden", "nothing:", "ftp://h/x",
                         good + " same\n" + good + " same"):
                with self.subTest(line):
                    result = self.queue(good, line)
                    self.assert_exit(result, 2)
                    self.assertRegex(result.stderr, rb"^qvhttp: .*list, line \d: ")
            self.assert_exit(self.run_tool("queue", self.folder / "none"), 5)
            self.assertEqual(server.requests, [])
            self.assert_exit(self.queue("# nothing"), 0)
            blocked = self.folder / "file"
            blocked.touch()
            for command, source in (("download", good), ("queue", self.list)):
                self.assert_exit(self.run_tool(command, source, "-d", blocked), 5)


if __name__ == "__main__":
    qvhttp_support.main()
