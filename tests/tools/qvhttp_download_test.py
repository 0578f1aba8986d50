"""Downloads into files: whole or not at all, and gone on with only where that is safe.

Usage: qvhttp_download_test.py PATH-OF-QVHTTP [unittest arguments]
"""

import qvhttp_support
from qvhttp_support import Server, ToolTest, chunked, response, wait_until

WHOLE = bytes(range(256)) * 4096
HALF = len(WHOLE) // 2
TAG = 'ETag: "v1"'


def part(body, content_range, *fields):
    return response("206 Partial Content", body, f"Content-Range: {content_range}", *fields)


class DownloadTest(ToolTest):
    def setUp(self):
        super().setUp()
        self.target = self.folder / "target"
        self.part = self.folder / ".target.part"
        self.meta = self.folder / ".target.part.meta"

    def get(self, server, *options, path="/thing"):
        return self.run_tool("get", server.base + path, "-o", self.target, *options)

    def leave_half(self, server, *fields, body=WHOLE[:HALF]):
        """A download that broke off in the middle; `server` gets to know what to answer to it."""
        head = [f"HTTP/1.1 200 OK\r\nContent-Length: {len(WHOLE)}", *fields]
        server.answer = "\r\n".join(head).encode() + b"\r\n\r\n" + body
        self.assert_exit(self.get(server), 5)

    def server(self):
        """A server whose answer can be changed between requests."""
        server = Server(lambda request, connection: server.answer(request, connection)
                        if callable(server.answer) else server.answer)
        return server

    def assert_whole(self, expected=WHOLE):
        self.assertEqual(self.target.read_bytes(), expected)
        self.assertEqual(self.names(), ["target"])

    # ---- Without resuming -------------------------------------------------------------------

    def test_what_is_left_of_a_broken_download(self):
        date = "Date: Sat, 02 Mar 2024 10:00:00 GMT"
        modified = "Last-Modified: Fri, 01 Mar 2024 10:00:00 GMT"
        modified_now = "Last-Modified: Sat, 02 Mar 2024 10:00:00 GMT"
        cases = [
            ((TAG,), True), ((modified, date), True), ((TAG, modified_now, date), True),
            ((), False), (('ETag: W/"v1"',), False), ((modified_now, date), False),
            ((modified,), False), (('ETag: W/"v1"', modified, date), False),
            ((TAG, "Accept-Ranges: none"), False),
        ]
        for fields, stays in cases:
            with self.subTest(fields), self.server() as server:
                self.target.write_bytes(b"old")
                self.leave_half(server, *fields)
                self.assertEqual(self.target.read_bytes(), b"old")
                left = [self.part.name, self.meta.name] if stays else []
                self.assertEqual(self.names(), left + ["target"])
                if stays:
                    self.assertEqual(self.part.read_bytes(), WHOLE[:HALF])
                    self.part.unlink()
                    self.meta.unlink()

    def test_nothing_is_left_of_a_download_without_a_byte(self):
        with self.server() as server:
            self.leave_half(server, TAG, body=b"")
        self.assertEqual(self.names(), [])

    def test_without_resume_it_begins_anew(self):
        with self.server() as server:
            self.leave_half(server, TAG)
            server.answer = response("404 None", b"page")
            self.assert_exit(self.get(server), 22)
            self.assertEqual(self.part.read_bytes(), WHOLE[:HALF])
            server.answer = response("200 OK", b"new", 'ETag: "v2"')
            self.assert_exit(self.get(server), 0)
            self.assertNotIn("range", server.requests[-1].fields)
        self.assert_whole(b"new")

    def test_range_of_the_user(self):
        with self.server() as server:
            server.answer = part(b"bc", "bytes 1-2/9", TAG)
            result = self.get(server, "-H", "Range: bytes=1-2")
            self.assert_exit(result, 0)
            self.assert_whole(b"bc")
            self.assert_exit(self.get(server), 5)  # a range that nobody asked for
            self.assert_whole(b"bc")

    def test_link_and_partial_link(self):
        elsewhere = self.folder / "elsewhere"
        elsewhere.write_bytes(b"precious")
        self.part.symlink_to(elsewhere)
        with Server(response("200 OK", b"body")) as server:
            self.assert_exit(self.get(server), 5)
            self.assertEqual(elsewhere.read_bytes(), b"precious")
            self.part.unlink()
            self.target.symlink_to(elsewhere)
            self.assert_exit(self.get(server), 0)
        self.assertTrue(self.target.is_symlink())
        self.assertEqual(elsewhere.read_bytes(), b"body")

    # ---- Resuming ---------------------------------------------------------------------------

    def test_killed_in_the_middle_and_resumed(self):
        def send_half(_, connection):
            head = f"HTTP/1.1 200 OK\r\nContent-Length: {len(WHOLE)}\r\n{TAG}\r\n\r\n"
            connection.sendall(head.encode() + WHOLE[:HALF])

        def send_rest(request, _):
            start = int(request.fields["range"].removeprefix("bytes=").removesuffix("-"))
            return part(WHOLE[start:], f"bytes {start}-{len(WHOLE) - 1}/{len(WHOLE)}", TAG)

        with Server([send_half, send_rest]) as server:
            tool = self.start_tool("get", server.base + "/thing", "-o", self.target)
            wait_until(lambda: self.part.exists() and self.part.stat().st_size == HALF, "the half")
            tool.kill()
            tool.wait()
            self.assertEqual(self.names(), [self.part.name, self.meta.name])
            self.assert_exit(self.get(server, "--resume"), 0)
            fields = server.requests[1].fields
        self.assert_whole()
        self.assertEqual((fields["range"], fields["if-range"]), (f"bytes={HALF}-", '"v1"'))

    def test_record_is_there_before_the_first_byte(self):
        head = f"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n{TAG}\r\n\r\n".encode()
        with Server(lambda _, connection: connection.sendall(head)) as server:
            self.start_tool("get", server.base + "/thing", "-o", self.target)
            wait_until(lambda: self.meta.exists() and b"length: 9" in self.meta.read_bytes(),
                       "the record")
            self.assertEqual(self.part.read_bytes(), b"")

    def test_answers_to_a_request_for_the_rest(self):
        size, rest = len(WHOLE), WHOLE[HALF:]
        right = f"bytes {HALF}-{size - 1}/{size}"
        cases = {
            "rest": (part(rest, right, TAG), 0),
            "rest without tag": (part(rest, right), 0),
            "rest of a length told before": (part(rest, f"bytes {HALF}-{size - 1}/*"), 0),
            "rest in chunks": (chunked(b"%x\r\n%s\r\n0\r\n\r\n" % (len(rest), rest)).replace(
                b"200 OK", f"206 Part\r\nContent-Range: {right}".encode()), 0),
            "other version": (response("200 OK", WHOLE, 'ETag: "v2"'), 0),
            "earlier start": (part(WHOLE, f"bytes 0-{size - 1}/{size}"), 5),
            "later start": (part(rest[1:], f"bytes {HALF + 1}-{size - 1}/{size}"), 5),
            "not to the end": (part(rest[:-1], f"bytes {HALF}-{size - 2}/{size}"), 5),
            "other length": (part(rest + b"x", f"bytes {HALF}-{size}/{size + 1}"), 5),
            "end before start": (part(rest, f"bytes {HALF}-0/{size}"), 5),
            "end behind length": (part(rest, f"bytes {HALF}-{size}/{size}"), 5),
            "number too large": (part(rest, f"bytes {HALF}-{'9' * 30}/{size}"), 5),
            "no range": (response("206 Part", rest, TAG), 5),
            "server error": (response("500 Oops", b"page"), 25),
            "redirect": (response("302 Found", b"", "Location: /x"), 23),
        }
        for name, (answer, code) in cases.items():
            with self.subTest(name), self.server() as server:
                self.leave_half(server, TAG)
                server.answer = answer
                self.assert_exit(self.get(server, "--resume"), code)
                if code == 0:
                    self.assert_whole()
                    self.target.unlink()
                else:  # what was there is as good as before
                    self.assertEqual(self.names(), [self.part.name, self.meta.name])
                    self.assertEqual(self.part.read_bytes(), WHOLE[:HALF])

    def test_rest_that_breaks_off_can_be_resumed_again(self):
        with self.server() as server:
            self.leave_half(server, TAG)
            start = HALF
            for _ in range(2):
                head = (f"HTTP/1.1 206 Part\r\nContent-Length: {len(WHOLE) - start}\r\n"
                        f"Content-Range: bytes {start}-{len(WHOLE) - 1}/{len(WHOLE)}\r\n\r\n")
                server.answer = head.encode() + WHOLE[start:start + 1000]
                self.assert_exit(self.get(server, "--resume"), 5)
                start += 1000
                self.assertEqual(self.part.read_bytes(), WHOLE[:start])
            server.answer = part(WHOLE[start:], f"bytes {start}-{len(WHOLE) - 1}/{len(WHOLE)}")
            self.assert_exit(self.get(server, "--resume"), 0)
        self.assert_whole()

    def test_range_not_satisfiable(self):
        size = len(WHOLE)
        cases = {
            "all is there": (WHOLE, f"Content-Range: bytes */{size}", False),
            "all is there, as told before": (WHOLE, "X-Other: 1", False),
            "shorter now": (WHOLE[:HALF], "Content-Range: bytes */9", True),
            "nothing to tell": (WHOLE[:HALF], "X-Other: 1", True),
            "other version": (WHOLE, f'ETag: "v2"\r\nContent-Range: bytes */{size}', True),
        }
        for name, (present, field, starts_over) in cases.items():
            with self.subTest(name), self.server() as server:
                self.leave_half(server, TAG)
                self.part.write_bytes(present)

                def answer(request, _, field=field):
                    if "range" in request.fields:
                        return response("416 Range Not Satisfiable", b"page", field)
                    return response("200 OK", b"new" * 9, 'ETag: "v2"')

                server.answer = answer
                result = self.get(server, "--resume")
                self.assert_exit(result, 0)
                self.assertEqual(result.stdout, b"")
                self.assert_whole(b"new" * 9 if starts_over else WHOLE)
                self.assertEqual(len(server.requests), 3 if starts_over else 2)

    def test_other_version_in_a_partial_response_starts_over(self):
        with self.server() as server:
            self.leave_half(server, TAG)
            right = f"bytes {HALF}-{len(WHOLE) - 1}/{len(WHOLE)}"
            server.answer = lambda request, _: (
                part(WHOLE[HALF:], right, 'ETag: "v2"') if "range" in request.fields
                else response("200 OK", b"new", 'ETag: "v2"'))
            self.assert_exit(self.get(server, "--resume"), 0)
        self.assert_whole(b"new")

    def test_what_cannot_be_resumed_begins_anew(self):
        def spoil_record(server):
            self.meta.write_bytes(self.meta.read_bytes().replace(b'"v1"', b""))

        cases = {
            "nothing there": lambda server: (self.part.unlink(), self.meta.unlink()),
            "no bytes": lambda server: self.part.write_bytes(b""),
            "no record": lambda server: self.meta.unlink(),
            "record without validator": spoil_record,
            "no such record": lambda server: self.meta.write_bytes(b"\0" * 100),
            "other URL": None,
        }
        for name, spoil in cases.items():
            with self.subTest(name), self.server() as server:
                self.leave_half(server, TAG)
                if spoil:
                    spoil(server)
                server.answer = response("200 OK", b"new")
                path = "/thing" if spoil else "/other"
                self.assert_exit(self.get(server, "--resume", path=path), 0)
                self.assertNotIn("range", server.requests[-1].fields)
                self.assert_whole(b"new")

    def test_date_serves_as_validator(self):
        modified = "Fri, 01 Mar 2024 10:00:00 GMT"
        with self.server() as server:
            self.leave_half(server, f"Last-Modified: {modified}",
                            "Date: Sat, 02 Mar 2024 10:00:00 GMT")
            server.answer = response("200 OK", WHOLE)
            self.assert_exit(self.get(server, "--resume"), 0)
            self.assertEqual(server.requests[-1].fields["if-range"], modified)
        self.assert_whole()

    def test_one_download_at_a_time(self):
        head = f"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n{TAG}\r\n\r\nhalf".encode()
        with Server(lambda _, connection: connection.sendall(head)) as server:
            self.start_tool("get", server.base + "/thing", "-o", self.target)
            wait_until(lambda: self.part.exists() and self.part.read_bytes() == b"half", "half")
            for options in ((), ("--resume",)):
                result = self.get(server, *options)
                self.assert_exit(result, 5)
                self.assertIn(b"another download", result.stderr)
                self.assertEqual(self.part.read_bytes(), b"half")


if __name__ == "__main__":
    qvhttp_support.main()
