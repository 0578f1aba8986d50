"""The command-line client's forms, read by a server with a parser of its own.

Usage: qvhttp_form_test.py PATH-OF-QVHTTP [unittest arguments]
"""

import email
import re
from urllib.parse import parse_qsl, urlsplit

import qvhttp_support
from qvhttp_support import ToolTest, chunked, response

TEXTS = {"plain": "value", "empty": "", "marks": "a&b=c+d%41 e;f/g?h#i",
         "line\t&+%": "two\r\nlines", "größe": "ä\u20ac\U0001F600",
         "at": "@home", "quote\"": "\"'<>\\"}
ARGUMENTS = [f"{name}={'@' if value.startswith('@') else ''}{value}"
             for name, value in TEXTS.items()]
URL_ENCODED = "application/x-www-form-urlencoded"


class FormTest(ToolTest):
    def test_url_encoded(self):
        result, server = self.exchange(
            response("200 OK", b"done\0"), "form", "URL", *ARGUMENTS, path="/form?x=1")
        self.assert_exit(result, 0)
        self.assertEqual((result.stdout, result.stderr), (b"done\0", b""))
        request = server.requests[0]
        self.assertEqual(request.line, "POST /form?x=1 HTTP/1.1")
        self.assertTrue(request.fields["content-type"].startswith(URL_ENCODED))
        fields = parse_qsl(request.body.decode(), keep_blank_values=True, strict_parsing=True)
        self.assertEqual(fields, list(TEXTS.items()))

        result, server = self.exchange(
            response("200 OK", b"found"), "form", "URL", *ARGUMENTS, "--method", "get",
            path="/form?replaced=1")
        self.assertEqual((result.returncode, result.stdout), (0, b"found"))
        method, target, _ = server.request_line.split(" ")
        self.assertEqual((method, urlsplit(target).path), ("GET", "/form"))
        fields = parse_qsl(urlsplit(target).query, keep_blank_values=True, strict_parsing=True)
        self.assertEqual(fields, list(TEXTS.items()))

    def test_multipart(self):
        content = bytes(range(256)) + b"\r\n--"
        file = self.folder / "photo \"1\".bin"
        file.write_bytes(content)
        for arguments, expected in ((["file=@" + str(file)], True), (["--multipart"], False)):
            with self.subTest(arguments):
                result, server = self.exchange(
                    response("201 Created", b"stored"), "form", "URL", *ARGUMENTS, *arguments,
                    "-o", self.folder / "answer")
                self.assert_exit(result, 0)
                self.assertEqual((self.folder / "answer").read_bytes(), b"stored")
                self.assertEqual(server.requests[0].method, "POST")
                head = "Content-Type: " + server.requests[0].fields["content-type"] + "\r\n\r\n"
                form = email.message_from_bytes(head.encode() + server.body)
                names = re.findall(rb'form-data; name="([^"]*)"', server.body)
                self.assertEqual(names[:len(TEXTS)],
                                 [name.replace('"', "%22").encode() for name in TEXTS])
                self.assertEqual([part.get_payload(decode=True) for part in form.get_payload()],
                                 [text.encode() for text in TEXTS.values()] + [content] * expected)
                if expected:
                    self.assertEqual((names[-1], form.get_payload()[-1].get_filename()),
                                     (b"file", "photo %221%22.bin"))

    def test_answers(self):
        cases = [(response("404 Not Found", b"page"), 22, b"page"),
                 (b"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nabc", 5, b""),
                 (chunked(b"5\r\nab"), 5, b""), (chunked(b"2\r\nab\r\n0\r\n\r\n"), 0, b"ab")]
        for answer, code, shown in cases:
            for method in ("GET", "POST"):
                with self.subTest(answer, method=method):
                    result, _ = self.exchange(answer, "form", "URL", "a=b", "--method", method)
                    self.assert_exit(result, code)
                    self.assertEqual(result.stdout, shown)

    def test_redirects(self):
        for status, method, after in (("302 Found", "POST", "GET"), ("303 See", "POST", "GET"),
                                      ("302 Found", "GET", "GET"), ("307 Go", "POST", "POST")):
            with self.subTest(status, method=method):
                answers = [response(status, b"", "Location: /to"), response("200 OK", b"x")]
                result, server = self.exchange(
                    answers, "form", "URL", "a=b", "--method", method, "--follow")
                self.assertEqual((result.returncode, result.stdout), (0, b"x"), result.stderr)
                self.assertEqual(server.requests[1].line, after + " /to HTTP/1.1")
                self.assertEqual(server.requests[1].body, b"a=b" if after == "POST" else b"")

    def test_credentials_and_headers(self):
        result, server = self.exchange(
            response(), "form", "URL", "a=b", "-u", "me:pw", "-H", "X-A: 1", "--cookie", "c=1")
        self.assert_exit(result, 0)
        fields = server.requests[0].fields
        self.assertEqual((fields["authorization"], fields["x-a"], fields["cookie"]),
                         ("Basic bWU6cHc=", "1", "c=1"))

    def test_forms_that_are_refused(self):
        url = "http://127.0.0.1:9/"
        for code, *arguments in ((2,), (2, "a"), (2, "=a"), (2, "a=1", "A=2"), (2, "a\nb=1"),
                                 (2, "n" * 256 + "=1"), (2, "a=@x", "--method", "GET"),
                                 (2, "a=1", "--multipart", "--method", "GET"),
                                 (2, "a=1", "--method", "PUT"), (2, "a=@x%y")):
            with self.subTest(arguments):
                result = self.run_tool("form", url, *arguments)
                self.assert_exit(result, code)
                self.assertTrue(result.stderr.startswith(b"qvhttp: "), result.stderr)
        result, server = self.exchange(response(), "form", "URL", f"a=@{self.folder / 'none'}")
        self.assert_exit(result, 5)
        self.assertEqual(server.request, b"")


if __name__ == "__main__":
    qvhttp_support.main()
