"""The command-line client and servers with certificates.

Usage: qvhttp_secure_test.py PATH-OF-QVHTTP [unittest arguments]
"""

import os
import pathlib
import ssl
import subprocess
import tempfile

import qvhttp_support
from qvhttp_support import Server, ToolTest, response


class SecureTest(ToolTest):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.certificate = pathlib.Path(folder.name) / "certificate.pem"
        key = pathlib.Path(folder.name) / "key.pem"
        subprocess.run(
            ["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256",
             "-nodes", "-keyout", key, "-out", cls.certificate, "-days", "2", "-subj",
             "/CN=localhost", "-addext", "subjectAltName=DNS:localhost"],
            check=True, capture_output=True)
        cls.context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        cls.context.load_cert_chain(cls.certificate, key)

    def get(self, server, path, *options, host="localhost", trusted=True):
        self.environment["SSL_CERT_FILE"] = str(self.certificate) if trusted else os.devnull
        return self.run_tool("get", f"https://{host}:{server.port}{path}", *options)

    def test_server_without_a_valid_certificate_gets_nothing(self):
        for host, trusted in (("localhost", False), ("127.0.0.1", True)):
            with self.subTest(host), Server(response("200 OK", b"x"), tls=self.context) as server:
                result = self.get(server, "/x", "-u", "me:pw", host=host, trusted=trusted)
                self.assert_exit(result, 3)
                self.assertIn(b"cannot trust", result.stderr)
            self.assertEqual([request.raw for request in server.requests if request.raw], [])

    def test_credentials_do_not_leave_the_secure_connection(self):
        with Server(response("200 OK", b"plain")) as plain:
            away = response("302 Found", b"", f"Location: http://localhost:{plain.port}/")
            with Server(away, tls=self.context) as secure:
                result = self.get(secure, "/x", "-u", "me:pw", "--cookie", "a=1", "--follow")
        self.assert_exit(result, 0)
        self.assertEqual(result.stdout, b"plain")
        self.assertEqual(secure.requests[0].fields["authorization"], "Basic bWU6cHc=")
        for field in ("authorization", "cookie"):
            self.assertNotIn(field, plain.requests[0].fields)

    def test_download(self):
        body = bytes(range(256)) * 4096
        target = self.folder / "target"
        with Server(response("200 OK", body), tls=self.context) as server:
            self.assert_exit(self.get(server, "/x", "-o", target), 0)
        self.assertEqual(target.read_bytes(), body)


if __name__ == "__main__":
    qvhttp_support.main()
