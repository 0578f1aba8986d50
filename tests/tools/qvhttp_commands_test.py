"""What each command of the command-line client sends, and what it does with the response.

Usage: qvhttp_commands_test.py PATH-OF-QVHTTP [unittest arguments]
"""

import email
import gzip
import os
import socket
import stat
import zlib

import qvhttp_support
from qvhttp_support import Server, ToolTest, chunked, response

BINARY = bytes(range(256)) + b"\r\n\0"


class CommandsTest(ToolTest):
    def file(self, content, name="data"):
        path = self.folder / name
        path.write_bytes(content)
        return path

    # ---- Bodies of requests -----------------------------------------------------------------

    def test_body_goes_out_byte_for_byte_with_its_type(self):
        file = self.file(BINARY)
        utf8 = "text/plain; charset=utf-8"
        cases = [
            (("put", "URL", file), b"", BINARY, "application/octet-stream"),
            (("put", "URL", "-"), BINARY, BINARY, "application/octet-stream"),
            (("put", "URL"), BINARY, BINARY, "application/octet-stream"),
            (("put", "URL", file, "-H", "Content-Type: a/b"), b"", BINARY, "a/b"),
            (("put", "URL"), b"", b"", None),
            (("post", "URL", "--data", "a b=%c&d"), b"", b"a b=%c&d", utf8),
            (("post", "URL", "--data", f"@{file}"), b"", BINARY, utf8),
            (("post", "URL", "--data", "@-"), BINARY, BINARY, utf8),
            (("post", "URL", "--data", ""), b"", b"", None),
            (("post", "URL"), b"", b"", None),
            (("post", "URL", "--json", '{"a": 1}'), b"", b'{"a": 1}', "application/json"),
            (("post", "URL", "--xml", "<a/>"), b"", b"<a/>", "application/xml"),
            (("post", "URL", "--json", "{}", "-H", "content-type: a/json"), b"", b"{}", "a/json"),
            (("patch", "URL", "--json", f"@{file}"), b"", BINARY, "application/json"),
            (("patch", "URL", "--xml", "@-"), b"<a/>", b"<a/>", "application/xml"),
            (("patch", "URL", "--data", "x"), b"", b"x", None),
            (("propfind", "URL", "--xml", "<p/>"), b"", b"<p/>", "application/xml"),
            (("request", "PROPPATCH", "URL", "--xml", "<p/>"), b"", b"<p/>", "application/xml"),
        ]
        for arguments, stdin, body, content_type in cases:
            with self.subTest(arguments):
                result, server = self.exchange(
                    response("200 OK", b"done\0"), *arguments, stdin=stdin)
                self.assert_exit(result, 0)
                self.assertEqual(result.stdout, b"done\0")
                self.assertEqual(result.stderr, b"")
                self.assertEqual(server.body, body)
                fields = server.requests[0].fields
                self.assertEqual(fields["content-length"], str(len(body)))
                self.assertEqual(fields.get("content-type"), content_type)

    def test_form_with_files(self):
        quoted = self.file(b"--x\r\n\r\n", 'a "b".txt')
        answer = response("201 Created", b"stored")
        result, server = self.exchange(
            answer, "post", "URL", "--file", self.file(BINARY), "--file", f"photo={quoted}",
            "--file", "in=-", "-o", self.folder / "answer", stdin=b"typed")
        self.assert_exit(result, 0)
        self.assertEqual((self.folder / "answer").read_bytes(), b"stored")
        head = "Content-Type: " + server.requests[0].fields["content-type"] + "\r\n\r\n"
        form = email.message_from_bytes(head.encode() + server.body)
        parts = [(part.get_param("name", header="content-disposition"), part.get_filename(),
                  part.get_payload(decode=True)) for part in form.get_payload()]
        self.assertEqual(parts, [("file", "data", BINARY),
                                 ("photo", "a %22b%22.txt", b"--x\r\n\r\n"),
                                 ("in", "stdin", b"typed")])

    def test_large_file_is_stored(self):
        size = (64 << 20) + 1  # more than the client holds in memory
        file = self.file(b"start")
        os.truncate(file, size)
        result, server = self.exchange(response("201 Created", b"text"), "put", "URL", file)
        self.assert_exit(result, 0)
        self.assertEqual(server.requests[0].fields["content-length"], str(size))
        self.assertEqual(server.body[:8], b"start\0\0\0")
        self.assertEqual(len(server.body), size)
        with Server(response("507 Full"), read_body=False) as server:
            result = self.run_tool("put", server.base + "/x", file)
        self.assert_exit(result, 25)

    def test_refusal_before_the_body_was_read(self):
        def refuse(_, connection):
            connection.sendall(response("413 Too Large", b"page"))
            connection.shutdown(socket.SHUT_WR)
            return b""

        file = self.file(bytes(32 << 20))
        with Server(refuse, read_body=False) as server:
            result = self.run_tool("put", server.base + "/x", file)
        self.assertIn(b"413 Too Large", result.stderr)
        self.assert_exit(result, 22)

    def test_file_that_cannot_be_read(self):
        for arguments in (("put", "URL", self.folder / "none"), ("put", "URL", self.folder),
                          ("post", "URL", "--data", f"@{self.folder}/none"),
                          ("post", "URL", "--file", f"f={self.folder}/none")):
            with self.subTest(arguments):
                result, server = self.exchange(response(), *arguments)
                self.assert_exit(result, 5)
                self.assertIn(b"cannot read", result.stderr)
                self.assertEqual(server.requests, [])

    # ---- WebDAV -----------------------------------------------------------------------------

    def test_collection_commands(self):
        cases = [
            (("propfind", "URL"), "PROPFIND", {"depth": "1"}),
            (("propfind", "URL", "--depth", "infinity"), "PROPFIND", {"depth": "infinity"}),
            (("mkcol", "URL"), "MKCOL", {"overwrite": None}),
            (("copy", "URL", "/b c"), "COPY", {"destination": "BASE/b c", "overwrite": None}),
            (("copy", "URL", "sub", "--overwrite"), "COPY",
             {"destination": "BASE/sub", "overwrite": "T"}),
            (("move", "URL", "http://me:pw@Other:81/x", "--no-overwrite"), "MOVE",
             {"destination": "http://other:81/x", "overwrite": "F"}),
        ]
        for arguments, method, fields in cases:
            with self.subTest(arguments):
                result, server = self.exchange(response("207 Multi", b"<m/>"), *arguments)
                self.assert_exit(result, 0)
                self.assertEqual(result.stdout, b"<m/>")
                self.assertEqual(server.request_line, f"{method} /thing HTTP/1.1")
                for name, value in fields.items():
                    expected = value and value.replace("BASE", server.base)
                    self.assertEqual(server.requests[0].fields.get(name), expected, name)

    # ---- Options ----------------------------------------------------------------------------

    def test_cookies(self):
        result, server = self.exchange(
            response(), "get", "URL", "--cookie", "a=1", "--cookie", "b=x=y z",
            "-H", "Cookie: c=3")
        self.assert_exit(result, 0)
        self.assertEqual(server.requests[0].fields["cookie"], "c=3; a=1; b=x=y z")

    def test_trace_is_for_its_owner(self):
        result, _ = self.exchange(response("200 OK", b"x"), "get", "URL", "--trace",
                                  os.path.relpath(self.folder / "log"))
        self.assert_exit(result, 0)
        log = self.folder / "log"
        self.assertIn(b"GET /thing", log.read_bytes())
        self.assertEqual(stat.S_IMODE(log.stat().st_mode), 0o600)
        result, server = self.exchange(response(), "get", "URL", "--trace", os.devnull)
        self.assert_exit(result, 5)
        self.assertEqual(server.requests, [])

    # ---- Compressed bodies ------------------------------------------------------------------

    @staticmethod
    def in_chunks(body):
        half = len(body) // 2
        pieces = (body[:half], body[half:])
        return b"".join(b"%x\r\n%s\r\n" % (len(piece), piece) for piece in pieces) + b"0\r\n\r\n"

    def test_compressed_body_is_decoded(self):
        text = BINARY * 500
        packed = gzip.compress(text)
        coded = "Content-Encoding: gzip"
        cases = {
            "gzip": response("200 OK", packed, coded),
            "deflate": response("200 OK", zlib.compress(text), "Content-Encoding: deflate"),
            "gzip in chunks": chunked(self.in_chunks(packed), coded),
            "gzip until close": b"HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\n\r\n" + packed,
            "as it is": response("200 OK", text),
            "as it is, in chunks": chunked(self.in_chunks(text)),
        }
        target = self.folder / "target"
        for name, answer in cases.items():
            for output in ((), ("-o", target)):
                with self.subTest(name, output=output):
                    result, server = self.exchange(answer, "get", "URL", "--compressed", *output)
                    self.assert_exit(result, 0)
                    self.assertEqual(target.read_bytes() if output else result.stdout, text)
                    self.assertIn("gzip", server.requests[0].fields["accept-encoding"])

    def test_compressed_body_that_is_broken(self):
        packed = gzip.compress(BINARY * 500)
        coded = "Content-Encoding: gzip"
        bad = bytearray(packed)
        bad[-6] ^= 1  # in the checksum
        length = f"HTTP/1.1 200 OK\r\nContent-Length: {len(packed)}\r\n"
        cases = {
            "short": f"{length}{coded}\r\n\r\n".encode() + packed[:-9],
            "short, as it is": f"{length}\r\n".encode() + packed[:-9],
            "chunk cut": chunked(self.in_chunks(packed)[:-20], coded),
            "chunk cut, as it is": chunked(self.in_chunks(packed)[:-20]),
            "last chunk missing, as it is": chunked(self.in_chunks(packed)[:-5]),
            "checksum": response("200 OK", bytes(bad), coded),
            "no compressed data": response("200 OK", b"text", coded),
            "unknown coding": response("200 OK", packed, "Content-Encoding: br"),
        }
        target = self.folder / "target"
        target.write_bytes(b"old")
        for name, answer in cases.items():
            with self.subTest(name):
                result, _ = self.exchange(answer, "get", "URL", "--compressed", "-o", target)
                self.assert_exit(result, 5)
                self.assertEqual(target.read_bytes(), b"old")
                self.assertEqual(self.names(), ["target"])

    def test_compressed_page_of_an_error(self):
        answer = response("404 None", gzip.compress(b"page"), "Content-Encoding: gzip")
        result, _ = self.exchange(
            answer, "get", "URL", "--compressed", "-o", self.folder / "target")
        self.assert_exit(result, 22)
        self.assertEqual(result.stdout, b"page")
        self.assertEqual(self.names(), [])


if __name__ == "__main__":
    qvhttp_support.main()
