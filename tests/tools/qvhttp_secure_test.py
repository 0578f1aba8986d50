"""The command-line client and servers with certificates.

Usage: qvhttp_secure_test.py PATH-OF-QVHTTP [unittest arguments]
"""

import os
import ssl
import tempfile

import qvhttp_support
from qvhttp_certificates import Authority, openssl
from qvhttp_support import Server, ToolTest, response

PAST = ("-startdate", "20200101000000Z", "-enddate", "20200201000000Z")
FUTURE = ("-startdate", "20400101000000Z", "-enddate", "20410101000000Z")
LOCALHOST = "DNS:localhost"


class SecureTest(ToolTest):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.authority = Authority(folder.name)
        cls.good = cls.authority.issue("localhost", LOCALHOST)
        cls.client = cls.authority.issue("laptop")
        cls.context = cls.authority.server(cls.good)

    def setUp(self):
        super().setUp()
        self.trust(self.authority.trusted)

    def trust(self, file):
        self.environment["SSL_CERT_FILE"] = str(file)

    def run_on(self, server, command, *options, host="localhost", path="/x"):
        return self.run_tool(command, f"https://{host}:{server.port}{path}", *options)

    def assert_got_nothing(self, server):
        self.assertEqual([request.raw for request in server.requests if request.raw], [])

    # ---- The server's certificate -----------------------------------------------------------

    def test_server_without_a_valid_certificate_gets_nothing(self):
        revoked = self.authority.issue("revoked", LOCALHOST)
        self.authority.revoke(revoked)
        trusted = self.authority.trusted
        cases = {
            "untrusted": (self.good, "localhost", os.devnull, b"untrusted root"),
            "name": (self.good, "127.0.0.1", trusted, b"for another name"),
            "expired": (self.authority.issue("expired", LOCALHOST, *PAST), "localhost", trusted,
                        b"has expired, or is not valid yet"),
            "early": (self.authority.issue("early", LOCALHOST, *FUTURE), "localhost", trusted,
                      b"has expired, or is not valid yet"),
            "revoked": (revoked, "localhost", trusted, b"has been revoked"),
        }
        for name, (file, host, roots, reason) in cases.items():
            self.trust(roots)
            context = self.authority.server(file)
            with self.subTest(name), Server(response("200 OK", b"x"), tls=context) as server:
                result = self.run_on(server, "get", "-u", "me:pw", host=host)
                self.assert_exit(result, 3)
                self.assertRegex(result.stderr, b"^qvhttp: cannot trust " + host.encode())
                self.assertIn(reason, result.stderr)
                result = self.run_on(server, "cert", host=host)
                self.assert_exit(result, 3)
                self.assertIn(b"\nstatus:       not valid: ", result.stdout)
                self.assertIn(reason, result.stdout.splitlines()[-1])
                self.assert_got_nothing(server)
                result = self.run_on(server, "get", "--insecure", host=host)
                self.assertEqual((result.returncode, result.stdout), (0, b"x"))

    def test_name_to_ask_for(self):
        asked = []
        context = self.authority.server(self.good)
        context.sni_callback = lambda _socket, name, _context: asked.append(name)
        with Server(response("200 OK", b"x"), tls=context) as other:
            away = response("302 Found", b"", f"Location: https://127.0.0.1:{other.port}/")
            with Server(away, tls=context) as server:
                result = self.run_on(server, "get", "--sni", "localhost", host="127.0.0.1")
                self.assert_exit(result, 23)
                self.assertEqual(asked, ["localhost"])
                # The name belongs to the server of the command line.
                result = self.run_on(server, "get", "--sni", "localhost", "--follow",
                                     host="127.0.0.1")
                self.assert_exit(result, 3)
                self.assert_exit(self.run_on(server, "get", "--sni", "other.example"), 3)
            self.assert_got_nothing(other)

    # ---- Reports ----------------------------------------------------------------------------

    def test_report_of_the_connection(self):
        def fields(result):
            self.assert_exit(result, 0)
            lines = result.stdout.decode().splitlines()
            self.assertTrue(all(line[13] == " " != line[14] for line in lines), lines)
            return {line[:14].strip(): line[14:] for line in lines}

        with Server(response(), tls=self.context) as server:
            report = fields(self.run_on(server, "cert", path=""))
            self.assertEqual(list(report), [
                "protocol:", "cipher:", "hash:", "key exchange:", "subject:", "issuer:",
                "valid from:", "valid until:", "status:"])
            self.assertEqual(report["protocol:"], "TLS 1.3")
            self.assertEqual(report["cipher:"], "AES, 256 bits")
            self.assertEqual(report["subject:"], "CN=localhost")
            self.assertEqual(report["issuer:"], "CN=Test authority")
            self.assertRegex(report["valid until:"], r"^20\d\d-\d\d-\d\d \d\d:\d\d:\d\d UTC$")
            self.assertLess(report["valid from:"], report["valid until:"])
            self.assertEqual(report["status:"], "valid")
            older = fields(self.run_on(server, "cert", "--tls1.2"))
            self.assertEqual(older["protocol:"], "TLS 1.2")
            self.assert_got_nothing(server)
        result = self.run_tool("cert", server.base)
        self.assert_exit(result, 2)
        self.assertIn(b"https", result.stderr)

    def test_version_that_the_server_does_not_speak(self):
        context = self.authority.server(self.good)
        context.maximum_version = ssl.TLSVersion.TLSv1_2
        with Server(response("200 OK", b"x"), tls=context) as server:
            self.assert_exit(self.run_on(server, "get", "--tls1.3"), 3)
            self.assert_exit(self.run_on(server, "get", "--tls1.3", "--tls1.2"), 0)

    # ---- The client's certificate -----------------------------------------------------------

    def test_client_certificate(self):
        def file(name):
            return self.folder / name

        openssl("pkcs12", "-export", "-in", self.client, "-passout", "pass:se:cret", "-out",
                file("a.p12"))
        openssl("pkcs12", "-export", "-in", self.client, "-passout", "pass:", "-name", "Laptop",
                "-out", file("b.p12"))
        openssl("pkcs8", "-topk8", "-in", self.client, "-passout", "pass:word", "-out",
                file("key.pem"))
        encrypted = file("encrypted:.pem")
        encrypted.write_bytes(self.client.read_bytes().split(b"-----BEGIN P")[0]
                              + file("key.pem").read_bytes())
        store = file("stores") / "my"
        store.mkdir(parents=True)
        (store / "travel.pem").write_bytes(self.client.read_bytes())
        self.environment["QVHTTP_USER_CERTIFICATES"] = str(store.parent)
        cases = [
            (("--cert", self.client), 0), (("--cert", f"{file('a.p12')}:se:cret"), 0),
            (("--cert", file("b.p12")), 0), (("--cert", f"{encrypted}:word"), 0),
            (("--cert-name", "travel"), 0), (("--cert-name", "nobody"), 5),
            (("--cert", f"{file('a.p12')}:wrong"), 5), (("--cert", encrypted), 5),
            (("--cert", self.authority.trusted), 5), (("--cert", file("none")), 5),
            (("--cert", self.client, "--cert-name", "travel"), 2),
        ]

        def answer(_, connection):
            return response("200 OK", str(connection.getpeercert()["subject"]).encode())

        with Server(answer, tls=self.authority.server(self.good, ssl.CERT_REQUIRED)) as server:
            for options, code in cases:
                with self.subTest(options):
                    result = self.run_on(server, "get", *options)
                    self.assert_exit(result, code)
                    self.assertEqual(b"laptop" in result.stdout, code == 0)
                    self.assertEqual(result.stderr.startswith(b"qvhttp: "), code != 0)
            self.assertIn(self.run_on(server, "get").returncode, (3, 5))

    def test_client_certificate_does_not_follow_a_redirect(self):
        context = self.authority.server(self.good, ssl.CERT_OPTIONAL)
        with Server(lambda _, c: response("200 OK", str(c.getpeercert()).encode()),
                    tls=context) as other:
            away = response("302 Found", b"", f"Location: https://localhost:{other.port}/")
            with Server(away, tls=context) as server:
                result = self.run_on(server, "get", "--cert", self.client, "--follow")
        self.assertEqual((result.returncode, result.stdout), (0, b"None"))

    # ---- Requests ---------------------------------------------------------------------------

    def test_credentials_do_not_leave_the_secure_connection(self):
        with Server(response("200 OK", b"plain")) as plain:
            away = response("302 Found", b"", f"Location: http://localhost:{plain.port}/")
            with Server(away, tls=self.context) as secure:
                result = self.run_on(secure, "get", "-u", "me:pw", "--cookie", "a=1", "--follow")
        self.assert_exit(result, 0)
        self.assertEqual(result.stdout, b"plain")
        self.assertEqual(secure.requests[0].fields["authorization"], "Basic bWU6cHc=")
        for field in ("authorization", "cookie"):
            self.assertNotIn(field, plain.requests[0].fields)

    def test_many_files(self):
        body = bytes(range(256)) * 4096
        (self.folder / "list").write_text("")
        for clients, options in ((ssl.CERT_NONE, ()), (ssl.CERT_REQUIRED, ("--cert", self.client))):
            context = self.authority.server(self.good, clients)
            with self.subTest(options), Server(response("200 OK", body), tls=context) as server:
                for command in ("download", "queue"):
                    folder = self.folder / f"{command}{len(options)}"
                    urls = [f"https://localhost:{server.port}/{name}" for name in "ab"]
                    (self.folder / "list").write_text("\n".join(urls))
                    source = urls if command == "download" else [self.folder / "list"]
                    self.assert_exit(self.run_tool(command, *source, "-d", folder, *options), 0)
                    self.assertEqual([p.read_bytes() for p in folder.iterdir()], [body] * 2)
        self.trust(os.devnull)
        with Server(response("200 OK", body), tls=self.context) as server:
            url = f"https://localhost:{server.port}/a"
            (self.folder / "list").write_text(url)
            for command, source in (("download", url), ("queue", self.folder / "list")):
                with self.subTest(command):
                    folder = self.folder / f"{command}-untrusted"
                    result = self.run_tool(command, source, "-d", folder)
                    self.assert_exit(result, 3)
                    self.assertIn(b"untrusted root", result.stderr)
                    self.assertEqual(list(folder.iterdir()), [])
            self.assert_got_nothing(server)
            folder = self.folder / "insecure"
            self.assert_exit(self.run_tool("download", url, "-d", folder, "--insecure"), 0)
            self.assertEqual((folder / "a").read_bytes(), body)


if __name__ == "__main__":
    qvhttp_support.main()
