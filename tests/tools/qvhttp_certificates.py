"""A certificate authority for the tests of the command-line client, made with openssl."""

import pathlib
import ssl
import subprocess

SETTINGS = """
[ca]
default_ca = authority
[authority]
database = {0}/index
serial = {0}/serial
new_certs_dir = {0}
certificate = {0}/ca.pem
private_key = {0}/ca.key
default_md = sha256
default_days = 2
default_crl_days = 2
policy = any
copy_extensions = copy
[any]
commonName = supplied
"""
NEW_KEY = ("-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-noenc")


def openssl(*arguments):
    subprocess.run(["openssl", *map(str, arguments)], check=True, capture_output=True)


class Authority:
    """Issues certificates. `trusted` is the file with its own and, once there is one, its
    revocation list."""

    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        self.trusted = self.folder / "trusted.pem"
        self._settings = self.folder / "openssl.cnf"
        self._settings.write_text(SETTINGS.format(folder))
        (self.folder / "index").touch()
        (self.folder / "serial").write_text("01\n")
        openssl("req", "-x509", *NEW_KEY, "-keyout", self.folder / "ca.key", "-out",
                self.folder / "ca.pem", "-days", "2", "-subj", "/CN=Test authority", "-addext",
                "keyUsage=critical,keyCertSign,cRLSign")
        self.trusted.write_bytes((self.folder / "ca.pem").read_bytes())

    def issue(self, name, names="", *dates):
        """Returns a PEM file with a new certificate and its key."""
        file, key, request = (self.folder / (name + suffix) for suffix in (".pem", ".key", ".csr"))
        extension = ["-addext", "subjectAltName=" + names] if names else []
        openssl("req", "-new", *NEW_KEY, "-keyout", key, "-out", request, "-subj", "/CN=" + name,
                *extension)
        openssl("ca", "-batch", "-notext", "-config", self._settings, "-in", request, "-out", file,
                *dates)
        file.write_bytes(file.read_bytes() + key.read_bytes())
        return file

    def revoke(self, file):
        crl = self.folder / "crl.pem"
        openssl("ca", "-config", self._settings, "-revoke", file)
        openssl("ca", "-config", self._settings, "-gencrl", "-out", crl)
        self.trusted.write_bytes(self.trusted.read_bytes() + crl.read_bytes())

    def server(self, file, clients=ssl.CERT_NONE):
        """The context of a server with a certificate, and what it wants of its clients'."""
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(file)
        context.load_verify_locations(self.folder / "ca.pem")
        context.verify_mode = clients
        return context
