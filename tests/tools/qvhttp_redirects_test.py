"""Where the command-line client goes when it follows redirects, and what it takes along.

Usage: qvhttp_redirects_test.py PATH-OF-QVHTTP [unittest arguments]
"""

import gzip

import qvhttp_support
from qvhttp_support import Server, ToolTest, response


def redirect(location, status=302):
    return response(f"{status} Moved", b"page", f"Location: {location}")


class RedirectsTest(ToolTest):
    def test_method_and_body(self):
        cases = [
            ("post", 301, "GET"), ("post", 302, "GET"), ("post", 303, "GET"),
            ("post", 307, "POST"), ("post", 308, "POST"), ("put", 301, "PUT"),
            ("put", 302, "PUT"), ("put", 303, "GET"), ("put", 308, "PUT"), ("get", 303, "GET"),
            ("get", 307, "GET"), ("delete", 302, "DELETE"), ("delete", 303, "GET"),
            ("patch", 307, "PATCH"), ("propfind", 301, "PROPFIND"),
        ]
        for command, status, method in cases:
            with self.subTest(command=command, status=status):
                has_body = command in ("post", "patch")
                data = ("--data", "text", "-H", "Content-Language: fi") if has_body else ()
                answers = [redirect("/new?x=1", status), response("200 OK", b"body")]
                result, server = self.exchange(
                    answers, command, "URL", *data, "--follow", stdin=b"text")
                self.assert_exit(result, 0)
                self.assertEqual(result.stdout, b"body")
                second = server.requests[1]
                self.assertEqual(second.line, f"{method} /new?x=1 HTTP/1.1")
                kept = method not in ("GET", "DELETE", "PROPFIND")
                self.assertEqual(second.body, b"text" if kept else b"")
                if not kept:
                    self.assertNotIn("content-language", second.fields)
                    self.assertNotIn("content-type", second.fields)

    def test_head(self):
        result, server = self.exchange([redirect("/a", 303), response()], "head", "URL", "--follow")
        self.assert_exit(result, 0)
        self.assertEqual(server.requests[1].line, "HEAD /a HTTP/1.1")
        self.assertTrue(result.stdout.startswith(b"HTTP 200 OK\n"))

    def test_location(self):
        cases = {
            "/x": "/x", "x": "/a/x", "./x/.": "/a/x/", "../x": "/x", "../../x": "/x",
            "?y=2": "/a/b?y=2", "x?y=/../z": "/a/x?y=/../z", "/p/../x": "/x", "#part": "/a/b?q=1",
            "x#part": "/a/x", "//HOST/y": "/y", "http://HOST": "/", "HTTP://HOST?z": "/?z",
            "http://me:pw@HOST/x": "/x", "": None, "ftp://HOST/x": None, "mailto:me": None,
            "http://": None, "http:x": None,
        }
        for location, target in cases.items():
            with self.subTest(location):
                def answer(request, _, location=location):
                    if request.target != "/a/b?q=1" or len(server.requests) > 1:
                        return response()
                    return redirect(location.replace("HOST", server.base[len("http://"):]))

                with Server(answer) as server:
                    result = self.run_tool("get", server.base + "/a/b?q=1#here", "--follow")
                if target is None:
                    self.assert_exit(result, 23)
                    self.assertEqual(len(server.requests), 1)
                    self.assertEqual(result.stdout, b"page")
                else:
                    self.assert_exit(result, 0)
                    self.assertEqual(server.requests[1].target, target)
                    self.assertNotIn("authorization", server.requests[1].fields)

    def test_count_is_limited(self):
        for limit in ((), ("--max-redirects", "2")):
            result, server = self.exchange(
                lambda request, _: redirect("/again"), "get", "URL", "--follow", *limit)
            self.assert_exit(result, 23)
            self.assertIn(b"redirects, the next to /again", result.stderr)
            self.assertEqual(len(server.requests), 3 if limit else 11)

    def test_secrets_stay_with_their_origin(self):
        cases = {
            "authorization": [("-u", "me:pw"), ("--bearer", "token"), ("-H", "Authorization: x")],
            "cookie": [("--cookie", "a=1"), ("-H", "Cookie: a=1")],
            "host": [("-H", "Host: virtual")],
        }
        for field, options in cases.items():
            for option in options:
                with self.subTest(option):
                    # There and back again; another port is another origin.
                    with Server(lambda *_: redirect(first.base + "/3", 307)) as second, \
                            Server([redirect("/2", 307), redirect(second.base + "/away", 307),
                                    response()]) as first:
                        result = self.run_tool(
                            "post", first.base + "/1", *option, "-H", "X-Mine: 1", "--follow",
                            "--data", "x")
                    self.assert_exit(result, 0)
                    sent = [request.fields.get(field) for request in first.requests]
                    self.assertEqual(sent, [sent[0]] * 3)
                    away = second.requests[0].fields
                    self.assertNotEqual(away.get(field), sent[0])
                    self.assertEqual(away["x-mine"], "1")
                    if field != "host":
                        self.assertNotIn(field, away)

    def test_credentials_of_the_url_stay_with_their_origin(self):
        with Server(response()) as second, \
                Server([redirect("/2"), redirect(second.base + "/away")]) as first:
            result = self.run_tool(
                "get", first.base.replace("//", "//me:pw@") + "/1", "--follow")
        self.assert_exit(result, 0)
        self.assertEqual([request.fields.get("authorization") for request in first.requests],
                         ["Basic bWU6cHc="] * 2)
        self.assertNotIn("authorization", second.requests[0].fields)

    def test_final_response_counts(self):
        target = self.folder / "target"
        packed = gzip.compress(b"body")
        for option, last in (((), response("200 OK", b"body")),
                             (("--compressed",),
                              response("200 OK", packed, "Content-Encoding: gzip"))):
            with self.subTest(option):
                result, _ = self.exchange(
                    [redirect("/new"), last], "get", "URL", "--follow", "-o", target, *option)
                self.assert_exit(result, 0)
                self.assertEqual(target.read_bytes(), b"body")
                self.assertEqual(result.stdout, b"")
        result, _ = self.exchange(
            [redirect("/new"), response("404 None", b"page")], "get", "URL", "--follow")
        self.assert_exit(result, 22)
        self.assertEqual(result.stdout, b"page")


if __name__ == "__main__":
    qvhttp_support.main()
