"""A directory server of the test's own: OpenLDAP's slapd on loopback, in a temporary folder."""

import os
import shutil
import socket
import subprocess
import tempfile
import time

DEADLINE = 30
SCHEMAS = ("core", "cosine", "inetorgperson")
CONFIGURATION = """\
{schemas}
pidfile {folder}/slapd.pid
modulepath /usr/lib/ldap
moduleload back_mdb
allow bind_anon_cred bind_anon_dn
sizelimit {size_limit}
TLSCACertificateFile {folder}/certificate.pem
TLSCertificateFile {folder}/certificate.pem
TLSCertificateKeyFile {folder}/key.pem
database mdb
suffix "{suffix}"
directory {folder}/data
"""


def program(name):
    """The full path of a program, also of those in folders that only administrators search; None when missing."""
    return shutil.which(name, path=os.environ.get("PATH", "") + ":/usr/sbin:/sbin:/usr/bin")


def missing_programs():
    return [name for name in ("slapd", "slapadd", "openssl") if program(name) is None]


def free_ports(count):
    listeners = [socket.create_server(("127.0.0.1", 0)) for _ in range(count)]
    ports = [listener.getsockname()[1] for listener in listeners]
    for listener in listeners:
        listener.close()
    return ports


class Slapd:
    """Runs with the given entries from the beginning of a with block to its end."""

    def __init__(self, suffix, entries, size_limit):
        self.suffix, self.entries, self.size_limit = suffix, entries, size_limit
        self.process = None

    def __enter__(self):
        self.folder = tempfile.mkdtemp(prefix="kframework-slapd-")
        try:
            self.prepare()
            for _ in range(3):  # somebody else may take the ports between choosing and using them
                if self.start():
                    return self
            raise SystemExit("slapd does not start:\n" + self.read("log"))
        except BaseException:
            self.__exit__()
            raise

    def __exit__(self, *_):
        self.stop()
        shutil.rmtree(self.folder, ignore_errors=True)

    def path(self, name):
        return os.path.join(self.folder, name)

    def read(self, name):
        with open(self.path(name), encoding="utf-8", errors="replace") as file:
            return file.read()

    def write(self, name, text):
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(text)

    def prepare(self):
        os.mkdir(self.path("data"))
        subprocess.run(
            [program("openssl"), "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", "/CN=localhost",
             "-addext", "subjectAltName=DNS:localhost,IP:127.0.0.1",
             "-keyout", self.path("key.pem"), "-out", self.path("certificate.pem")],
            check=True, capture_output=True, timeout=DEADLINE)
        schemas = "\n".join(f"include /etc/ldap/schema/{name}.schema" for name in SCHEMAS)
        self.write("slapd.conf", CONFIGURATION.format(schemas=schemas, folder=self.folder, suffix=self.suffix,
                                                      size_limit=self.size_limit))
        self.write("entries.ldif", self.entries)
        added = subprocess.run(
            [program("slapadd"), "-q", "-f", self.path("slapd.conf"), "-l", self.path("entries.ldif")],
            capture_output=True, text=True, timeout=DEADLINE)
        if added.returncode != 0:
            raise SystemExit("slapadd: " + added.stderr)

    def start(self):
        self.port, self.tls_port = free_ports(2)
        addresses = f"ldap://127.0.0.1:{self.port}/ ldaps://127.0.0.1:{self.tls_port}/"
        with open(self.path("log"), "w", encoding="utf-8") as log:
            # -d keeps it in the foreground, a child of this process.
            self.process = subprocess.Popen(
                [program("slapd"), "-d", "0", "-f", self.path("slapd.conf"), "-h", addresses],
                stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        end = time.monotonic() + DEADLINE
        while time.monotonic() < end and self.process.poll() is None:
            try:
                for port in (self.port, self.tls_port):
                    socket.create_connection(("127.0.0.1", port), 1).close()
                return True
            except OSError:
                time.sleep(0.02)
        self.stop()
        return False

    def stop(self):
        """At once, as when the machine fails; the connections end."""
        if self.process is not None:
            self.process.kill()
            self.process.wait()
            self.process = None
