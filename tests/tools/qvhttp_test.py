"""What the command-line client shows its user: output, files, messages and exit codes.

Usage: qvhttp_test.py PATH-OF-QVHTTP [unittest arguments]
"""

import os
import pathlib
import socket

import qvhttp_support
from qvhttp_support import Server, ToolTest, chunked, response


class CommandLineTest(ToolTest):
    # ---- Bodies -----------------------------------------------------------------------------

    def test_body_reaches_standard_output_byte_for_byte(self):
        body = bytes(range(256)) * 1000 + b"\r\n\0"
        pieces = b"1\r\n\0\r\n%x;note=\"a\"\r\n%s\r\n0\r\nX-T: 1\r\n\r\n" % (len(body), body)
        cases = {
            "length": (response("200 OK", body), body),
            "until the connection closes": (b"HTTP/1.1 200 OK\r\n\r\n" + body, body),
            "chunks": (chunked(pieces), b"\0" + body),
            "empty": (response("200 OK"), b""),
            "no content": (b"HTTP/1.1 204 No Content\r\n\r\n", b""),
        }
        for name, (answer, expected) in cases.items():
            with self.subTest(name):
                result, server = self.exchange(answer, "get", "URL")
                self.assert_exit(result, 0)
                self.assertEqual(result.stdout, expected)
                self.assertEqual(result.stderr, b"")
                self.assertEqual(server.request_line, "GET /thing HTTP/1.1")

    def test_broken_body_fails_and_leaves_the_old_file(self):
        cases = {
            "short": b"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nabc",
            "chunk cut": chunked(b"5\r\nab"),
            "last chunk missing": chunked(b"2\r\nab\r\n"),
            "chunk without size": chunked(b"\r\nab\r\n0\r\n\r\n"),
            "chunk longer than its size": chunked(b"1\r\nab\r\n0\r\n\r\n"),
            "chunk size too large": chunked(b"10000000000000002\r\nab\r\n0\r\n\r\n"),
            "negative chunk size": chunked(b"-2\r\nab\r\n0\r\n\r\n"),
            "trailer cut": chunked(b"2\r\nab\r\n0\r\nX: y\r\n"),
            "unknown transfer coding":
                b"HTTP/1.1 200 OK\r\nTransfer-Encoding: gzip, chunked\r\n\r\n0\r\n\r\n",
        }
        for name, answer in cases.items():
            with self.subTest(name):
                target = self.folder / "target"
                target.write_bytes(b"old")
                result, _ = self.exchange(answer, "get", "URL", "-o", target)
                self.assert_exit(result, 5)
                self.assertTrue(result.stderr.startswith(b"qvhttp: "), result.stderr)
                self.assertEqual(target.read_bytes(), b"old")
                self.assertEqual(self.names(), ["target"])

    def test_short_body_tells_both_lengths(self):
        answer = b"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nabc"
        result, _ = self.exchange(answer, "get", "URL")
        self.assertIn(b"3 of 100", result.stderr)

    # ---- Files ------------------------------------------------------------------------------

    def test_output_file_is_replaced_when_the_body_is_whole(self):
        target, link = self.folder / "target", self.folder / "link"
        target.write_bytes(b"old content")
        link.symlink_to(target)
        for name in (target, link):
            result, _ = self.exchange(response("200 OK", b"new\0"), "get", "URL", "-o", name)
            self.assert_exit(result, 0)
            self.assertEqual(result.stdout, b"")
            self.assertEqual(target.read_bytes(), b"new\0")
        self.assertTrue(link.is_symlink())
        self.assertEqual(self.names(), ["link", "target"])

    def test_output_file_takes_no_error_page(self):
        target = self.folder / "target"
        for status, code in (("404 Gone", 22), ("302 Found", 23), ("500 Oops", 25)):
            with self.subTest(status):
                answer = response(status, b"page")
                result, _ = self.exchange(answer, "get", "URL", "-o", target)
                self.assert_exit(result, code)
                self.assertEqual(result.stdout, b"page")
                self.assertFalse(target.exists())

    def test_output_to_what_is_no_regular_file(self):
        result, _ = self.exchange(response("200 OK", b"x"), "get", "URL", "-o", os.devnull)
        self.assert_exit(result, 0)
        self.assertFalse(pathlib.Path(os.devnull).is_file())
        for name in (self.folder, self.folder / "none" / "target"):
            result, _ = self.exchange(response("200 OK", b"x"), "get", "URL", "-o", name)
            self.assert_exit(result, 5)

    # ---- Status and headers -----------------------------------------------------------------

    def test_exit_code_tells_the_status(self):
        cases = [("200 OK", 0), ("201 Created", 0), ("304 Not Modified", 0), ("307 Moved", 23),
                 ("400 Bad", 22), ("401 Who", 22), ("408 Slow", 22), ("499 Odd", 22),
                 ("503 Busy", 25), ("504 Late", 25)]
        for status, code in cases:
            for command in ("get", "head", "delete"):
                with self.subTest(status=status, command=command):
                    answer = response(status, b"", "Location: /new")
                    result, server = self.exchange(answer, command, "URL")
                    self.assert_exit(result, code)
                    self.assertEqual(server.request_line.split()[0], command.upper())
                    if not status.startswith("2"):
                        self.assertIn(status.encode(), result.stderr)

    def test_redirect_names_its_location(self):
        answer = response("301 Moved", b"", "Location: http://example.invalid/new?x=1")
        result, _ = self.exchange(answer, "get", "URL")
        self.assertIn(b"not followed: http://example.invalid/new?x=1", result.stderr)

    def test_head_prints_status_and_headers(self):
        fields = b"Content-Length: 1000\r\nX-Long: " + b"v" * 5000
        answer = b"HTTP/1.1 200 Fine\r\n" + fields + b"\r\n\r\n"
        result, _ = self.exchange(answer, "head", "URL")
        self.assert_exit(result, 0)
        lines = result.stdout.decode().splitlines()
        self.assertEqual(lines, ["HTTP 200 Fine", "Content-Length: 1000", "X-Long: " + "v" * 5000])

    def test_verbose_shows_both_headers_on_stderr(self):
        result, _ = self.exchange(
            response("200 Fine", b"body", "X-Answer: 42"),
            "get", "URL", "-v", "-H", "X-Question: why")
        self.assertEqual(result.stdout, b"body")
        lines = result.stderr.decode().splitlines()
        for line in ("> GET /thing HTTP/1.1", "> X-Question: why",
                     "< HTTP 200 Fine", "< X-Answer: 42"):
            self.assertIn(line, lines)

    # ---- Requests ---------------------------------------------------------------------------

    def test_options_shape_the_request(self):
        user = ("-u", "me:pass:word")
        cases = [
            (("get", "URL", "-H", "X-A: 1", "-H", "X-B:  two  words "), b"X-B: two  words\r\n"),
            (("get", "URL", "-H", "X-A: 1", "-H", "X-B: 2"), b"X-A: 1\r\n"),
            (("get", *user, "URL"), b"Authorization: Basic bWU6cGFzczp3b3Jk\r\n"),
            (("get", "URL", "--bearer", "abc.def"), b"Authorization: Bearer abc.def\r\n"),
            (("get", "URL", "--http1.0"), b"GET /thing HTTP/1.0\r\n"),
            (("request", "options", "URL"), b"OPTIONS /thing HTTP/1.1\r\n"),
            (("get", "URL", "-H", "X-Long: " + "x" * 3000), b"X-Long: " + b"x" * 3000 + b"\r\n"),
        ]
        for arguments, expected in cases:
            with self.subTest(arguments):
                result, server = self.exchange(response(), *arguments)
                self.assert_exit(result, 0)
                self.assertIn(expected, server.request)

    def test_target_of_the_request(self):
        cases = {"": "/", "/": "/", "?q=1": "/?q=1", "/a?b=c?d#part": "/a?b=c%3fd", "/a#x?y": "/a",
                 "/a%20b": "/a%20b"}
        for path, target in cases.items():
            with self.subTest(path):
                result, server = self.exchange(response(), "get", "URL", path=path)
                self.assert_exit(result, 0)
                self.assertEqual(server.request_line, f"GET {target} HTTP/1.1")

    def test_credentials_in_the_url(self):
        with Server(response()) as server:
            result = self.run_tool("get", server.base.replace("//", "//me:secret@") + "/")
        self.assert_exit(result, 0)
        self.assertIn(b"Authorization: Basic bWU6c2VjcmV0\r\n", server.request)

    def test_data_is_sent_as_it_is(self):
        data = b"{\"a b\": \"%&=+\"}\r\n\0" + bytes(range(256))
        file = self.folder / "data"
        file.write_bytes(data)
        cases = [
            (("POST", "--data", "[a b=c&d]"), b"", b"[a b=c&d]"),
            (("PUT", "--data", f"@{file}"), b"", data),
            (("PATCH", "--data", "@-"), data, data),
            (("PROPFIND", "--data", f"@{file}"), b"", data),
        ]
        for (method, *rest), stdin, expected in cases:
            with self.subTest(method):
                result, server = self.exchange(
                    response("200 OK", b"done"), "request", method, "URL", *rest, stdin=stdin)
                self.assert_exit(result, 0)
                self.assertEqual(result.stdout, b"done")
                self.assertEqual(server.request_line, f"{method} /thing HTTP/1.1")
                self.assertEqual(server.body, expected)

    # ---- Failures before and during the exchange --------------------------------------------

    def test_no_connection(self):
        with socket.create_server(("127.0.0.1", 0)) as listener:
            free = "http://127.0.0.1:%d/" % listener.getsockname()[1]
        result = self.run_tool("get", free)
        self.assert_exit(result, 3)
        self.assertIn(b"refused", result.stderr)

    def test_silent_server_is_a_time_out(self):
        result, _ = self.exchange(None, "get", "URL", "--timeout", "1")
        self.assert_exit(result, 4)
        self.assertIn(b"timed out", result.stderr)

    def test_answer_that_is_no_response(self):
        for answer in (b"", b"\r\n\r\n", b"220 mail.example ESMTP\r\n\r\n"):
            with self.subTest(answer):
                result, _ = self.exchange(answer, "get", "URL")
                self.assert_exit(result, 5)

    def test_wrong_command_lines(self):
        url = "http://127.0.0.1:9/"
        cases = [
            (), ("fetch", url), ("get",), ("get", url, "--nonsense"), ("get", url, "extra"),
            ("get", "ftp://host/"), ("get", "http:///path"), ("get", url, "-H", "no colon"),
            ("get", url, "-H", "Bad Name: x"), ("get", url, "-H", "Empty:"),
            ("get", url, "-u", "me"), ("get", url, "-u", "a:b", "--bearer", "c"),
            ("get", url, "--timeout", "0"), ("get", url, "-u", ""),
            ("get", url, "--cookie", "novalue"), ("get", url, "--cookie", "a b=c"),
            ("get", url, "--cookie", "a="), ("get", url, "--cookie", "a=b; c=d"),
            ("get", url, "--max-redirects", "3"), ("get", url, "--follow", "--max-redirects", "0"),
            ("get", url, "--resume"), ("get", url, "--resume", "--compressed", "-o", "x"),
            ("get", url, "--resume", "-o", "x", "-H", "Range: bytes=0-"),
            ("post", url, "--data", "a", "--json", "{}"),
            ("post", url, "--xml", "a", "--file", "b"),
            ("patch", url), ("propfind", url, "--depth", "2"), ("copy", url),
            ("copy", url, "ftp://host/x"), ("move", url, "/x", "--overwrite", "--no-overwrite"),
            ("head", url, "-o", "x"), ("delete", url, "--data", "x"),
            ("get", url, "--timeout", "x"), ("request", "GE T", url), ("request", "PUT", url),
            ("request", "GET", url, "--data", "x"), ("url",), ("url", "parse"),
            ("url", "parse", "ftp://host/"), ("url", "normalize", ""),
        ]
        for arguments in cases:
            with self.subTest(arguments):
                result = self.run_tool(*arguments)
                self.assert_exit(result, 2)
                self.assertEqual(result.stdout, b"")
                self.assertTrue(result.stderr.startswith(b"qvhttp: "), result.stderr)

    def test_a_line_break_never_reaches_the_wire(self):
        result, server = self.exchange(response(), "get", "URL", "-H", "X-A: 1\r\nX-Evil: 2")
        self.assert_exit(result, 2)
        self.assertNotIn(b"X-Evil", server.request)

    # ---- Without a network ------------------------------------------------------------------

    def test_url_commands(self):
        url = "https://me:pw@[::1]:8443/a/../b?x=1"
        result = self.run_tool("url", "parse", url)
        self.assert_exit(result, 0)
        self.assertEqual(result.stdout.decode().splitlines(), [
            "scheme: https", "user: me", "password: pw", "host: ::1", "port: 8443",
            "path: /a/../b", "query: x=1"])
        result = self.run_tool("url", "normalize", url)
        self.assertEqual(result.stdout, b"https://me:pw@[::1]:8443/b?x=1\n")

    def test_help_and_version(self):
        self.assertEqual(self.run_tool("--version").stdout, b"12.0.3024\n")
        result = self.run_tool("--help")
        self.assert_exit(result, 0)
        for code in ("0", "2", "3", "4", "5", "22", "23", "25", "130"):
            self.assertRegex(result.stdout.decode(), rf"(?m)^ +{code}  \w")


if __name__ == "__main__":
    qvhttp_support.main()
