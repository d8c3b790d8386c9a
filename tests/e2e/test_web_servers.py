"""nginx, Apache and lighttpd with TLS in front of the same program."""
import base64
import contextlib
import http.client
import json
import os
import re
import socket
import ssl
import subprocess
import tempfile

import harness
from harness import ETC, TARGET, Answer, run, snapshot, wait_for
from machine import contents, write

TLS_PORT = 8443
CONFIGURATION = TARGET + "/etc/web/"
RUNTIME = "/run/mailvane/web/"

# How each is started, and its pid file.
SERVERS = {
    "nginx": (["nginx", "-c", CONFIGURATION + "nginx.conf"], "nginx.pid"),
    "apache": (["apache2", "-f", CONFIGURATION + "apache.conf"], "apache.pid"),
    "lighttpd": ([TARGET + "/scripts/web.sh", "restart"], "lighttpd.pid"),
}
POSTFIX_LOG = "/var/log/mailvane/maillog"
OWN_HOST = "127.0.0.1:%d" % TLS_PORT
# What every answer has, and nothing else has twice.
HEADERS = {"Cache-Control": "no-store", "X-Content-Type-Options": "nosniff",
           "X-Frame-Options": "SAMEORIGIN",
           "Content-Security-Policy": "default-src 'none'; frame-ancestors 'self'",
           "Strict-Transport-Security": "max-age=31536000"}
CHANGE = json.dumps({"action": "save_smtp", "smtp_hostname": "changed.test"}).encode()


@contextlib.contextmanager
def response(path="/mailvane.cgi?action=load_smtp", user="admin", body=None, headers=None, method=None,
             password=None):
    """The answer to a request over TLS, not yet read."""
    head = dict(headers or {})
    if user is not None:
        login = "%s:%s" % (user, password or "pw-" + user)
        head["Authorization"] = "Basic " + base64.b64encode(login.encode()).decode()
    if body is not None:
        head.setdefault("Content-Type", "application/json")
    context = ssl.create_default_context(cafile=ETC + "/tls/cert.pem")
    connection = http.client.HTTPSConnection("127.0.0.1", TLS_PORT, timeout=harness.PATIENCE,
                                             context=context)
    with contextlib.closing(connection):
        connection.request(method or ("GET" if body is None else "POST"), path, body, head)
        yield connection.getresponse()


def request(**parts):
    """As harness.request, over TLS."""
    with response(**parts) as answer:
        return Answer(answer)


def peak_memory(server_pid):
    """The most that the processes of a server have held at once each, together, in MiB."""
    children = run("pgrep", "-P", str(server_pid), check=False).split()
    total = 0
    for pid in [str(server_pid), *children]:
        with open("/proc/%s/status" % pid, encoding="ascii") as file:
            total += int(re.search(r"VmHWM:\s+(\d+)", file.read()).group(1))
    return total / 1024


def make_certificate():
    """The mail server's certificate, for the address that the tests call."""
    run("openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2",
        "-subj", "/CN=mv.test", "-addext", "subjectAltName=IP:127.0.0.1",
        "-keyout", ETC + "/tls/key.pem", "-out", ETC + "/tls/cert.pem")
    os.chmod(ETC + "/tls/key.pem", 0o600)


def reserve_port():
    """The package's own server leaves the port to the others."""
    os.environ["MAILVANE_WEB_TLS_PORT"] = ""
    harness.control("web", "restart")


def start(name):
    """Starts a server with TLS."""
    environment = {**os.environ, "MAILVANE_WEB_TLS_PORT": str(TLS_PORT)}
    subprocess.run(SERVERS[name][0], check=True, env=environment, stdin=subprocess.DEVNULL,
                   timeout=harness.PATIENCE)


@contextlib.contextmanager
def server(name):
    """The server, running until the block ends."""
    pid_file = SERVERS[name][1]
    start(name)
    wait_for(lambda: os.path.exists(RUNTIME + pid_file) and harness.answers(TLS_PORT), name)
    pid = harness.pid_of(RUNTIME + pid_file)
    try:
        yield pid
    finally:
        os.kill(pid, 15)
        wait_for(lambda: not os.path.exists("/proc/%d" % pid), "the end of " + name)


def setup(*words, typed=""):
    subprocess.run([TARGET + "/bin/mailvane-setup", *words], input=typed, text=True, check=True,
                   stdout=subprocess.DEVNULL, timeout=harness.PATIENCE)


def status_with(certificate, *more):
    """What a request is answered that brings a certificate; 0 when the connection is not taken."""
    text = subprocess.run(
        ["curl", "-s", "--cacert", ETC + "/tls/cert.pem", "--cert", certificate, *more, "-o", "/dev/null", "-w",
         "%{http_code}", "https://" + OWN_HOST + "/mailvane.cgi?action=load_smtp"],
        check=False, stdout=subprocess.PIPE, text=True, timeout=harness.PATIENCE).stdout
    return int(text)


class Certificates(harness.Story):
    """A certificate signs in whom it names, and nobody else's does."""

    PASSWORD = "the password of the file"

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        make_certificate()
        reserve_port()

    def setUp(self):
        super().setUp()
        self.folder = self.enterContext(tempfile.TemporaryDirectory())
        self.addCleanup(harness.control, "web", "restart")
        self.addCleanup(setup, "certificate", "--forget", "admin")
        self.admin = self.made("admin")

    def made(self, name):
        """Certificate and key of a new file, as curl takes them."""
        packed = "%s/%s.p12" % (self.folder, name)
        setup("certificate", name, packed, typed=self.PASSWORD + "\n")
        run("openssl", "pkcs12", "-in", packed, "-passin", "pass:" + self.PASSWORD, "-nodes", "-out", packed + ".pem")
        return packed + ".pem"

    def forged(self, issuer=None):
        """A certificate that calls itself the administrator's, signed by itself or by another one."""
        key, made = self.folder + "/forged.key", self.folder + "/forged.pem"
        request = ("openssl", "req", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=admin", "-keyout", key)
        if issuer:
            run(*request, "-out", made + ".request")
            run("openssl", "x509", "-req", "-in", made + ".request", "-CA", issuer, "-CAkey", issuer, "-out", made)
        else:
            run(*request, "-x509", "-out", made)
        with open(made, "a", encoding="ascii") as file, open(key, encoding="ascii") as secret:
            file.write(secret.read())
        return made

    def test_signs_in_on_each_server(self):
        self.assertEqual(os.stat(self.folder + "/admin.p12").st_mode & 0o777, 0o600)
        run("gpasswd", "--add", "bob", "administrators")
        self.addCleanup(setup, "certificate", "--forget", "bob")
        bob = self.made("bob")
        run("gpasswd", "--delete", "bob", "administrators")
        for name in SERVERS:
            with server(name), self.subTest(server=name):
                self.assertEqual(status_with(self.admin), 200)
                self.assertEqual(status_with(self.admin, "-u", "alice:pw-alice"), 200)
                self.assertEqual(status_with(bob), 403)
                self.assertEqual(status_with(bob, "-u", "admin:wrong"), 403)
                self.assertIn(status_with(self.forged()), (0, 400, 401))
                self.assertIn(status_with(self.forged(bob)), (0, 400, 401))
                self.assertEqual((request().status, request(user=None).status), (200, 401))

    def test_that_is_forgotten_signs_in_nobody(self):
        old = self.folder + "/old.pem"
        os.rename(self.admin, old)
        os.unlink(self.folder + "/admin.p12")
        self.made("admin")  # takes the place of the old one
        for name in SERVERS:
            with server(name), self.subTest(server=name):
                self.assertIn(status_with(old), (0, 400, 401))
        setup("certificate", "--forget", "admin")
        for name in SERVERS:
            with server(name), self.subTest(server=name):
                self.assertEqual((status_with(old), request().status), (401, 200))


class WebServers(harness.Story):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        make_certificate()
        reserve_port()

    def test_a_certificate_opens_the_port_for_the_network(self):
        del os.environ["MAILVANE_WEB_TLS_PORT"]
        self.addCleanup(harness.control, "web", "restart")
        self.addCleanup(os.environ.update, MAILVANE_WEB_TLS_PORT="")
        self.assertEqual(harness.control("web", "restart"), 0)
        for address in ("127.0.0.1", "::1"):
            socket.create_connection((address, TLS_PORT), 5).close()
        self.assertEqual(request().status, 200)
        os.rename(ETC + "/tls/cert.pem", ETC + "/tls/aside.pem")
        self.addCleanup(os.rename, ETC + "/tls/aside.pem", ETC + "/tls/cert.pem")
        self.assertEqual(harness.control("web", "restart"), 0)
        self.assertFalse(harness.answers(TLS_PORT))

    def test_each_lets_in_whom_it_should(self):
        self.addCleanup(harness.control, "web", "restart")
        for name in SERVERS:
            with server(name):
                self.check_entrance(name)
                self.check_headers(name)

    def test_each_takes_a_new_password_at_once_and_an_old_one_no_more(self):
        self.addCleanup(harness.control, "web", "restart")
        first = contents(ETC + "/htpasswd")
        self.addCleanup(write, ETC + "/htpasswd", first)
        for name in SERVERS:
            with server(name), self.subTest(server=name):
                write(ETC + "/htpasswd", first)
                self.assertEqual(request().status, 200)
                setup("admin", "admin", typed="another password\n")
                told = [request(password=word).status for word in ("another password", "pw-admin")]
                self.assertEqual(told, [200, 401])
                write(ETC + "/htpasswd", "")
                self.assertEqual(request(password="another password").status, 401)

    def test_each_passes_a_long_download_on_as_it_comes(self):
        self.addCleanup(harness.control, "web", "restart")
        self.assertEqual(harness.control("maillog", "stop"), 0)
        self.addCleanup(harness.control, "maillog", "start")
        lines = ("x" * 9999 + "\n").encode() * 20000  # 200 MB
        with open(POSTFIX_LOG, "rb+") as log:
            start = log.seek(0, os.SEEK_END)
            self.addCleanup(os.truncate, POSTFIX_LOG, start)
            log.write(lines)
        for name in SERVERS:
            with self.subTest(server=name), server(name) as pid:
                request()
                before = peak_memory(pid)
                self.assertGreater(self.download(), len(lines))
                self.assertLess(peak_memory(pid), before + 16)

    @staticmethod
    def download():
        """Bytes of the text log."""
        length = 0
        with response(path="/mailvane.cgi?action=export_postfix_log") as answer:
            while chunk := answer.read(1 << 20):
                length += len(chunk)
        return length

    def check_entrance(self, name):
        before = snapshot(ETC)
        cases = (
            ("administrator", 200, {}),
            ("own page", 200, {"headers": {"Origin": "https://" + OWN_HOST}}),
            ("stranger", 401, {"user": None}),
            ("wrong password", 401, {"user": "mallory"}),
            ("plain user", 403, {"user": "alice"}),
            ("plain user who names another", 403, {"user": "alice",
                                                   "headers": {"Remote-User": "admin"}}),
            ("foreign page", 403, {"headers": {"Origin": "https://127.0.0.1"}}),
            ("change by a foreign page", 403, {"body": CHANGE,
                                               "headers": {"Origin": "https://elsewhere.test"}}),
            ("change by a plain user", 403, {"body": CHANGE, "user": "alice"}),
            ("broken body", 400, {"body": CHANGE[:-1]}),
            ("long body", 413, {"body": b" " * 5_000_000 + CHANGE}),
            ("other file", 404, {"path": "/etc/htpasswd"}),
        )
        for what, status, parts in cases:
            with self.subTest(server=name, what=what):
                self.assertEqual(request(**parts).status, status)
        self.assertEqual(snapshot(ETC), before)

        relay = json.dumps({"action": "save_relay", "smtp_relay_enabled": False}).encode()
        with self.subTest(server=name, what="change"):
            self.assertIs(request(body=relay).json()["success"], True)

    def check_headers(self, name):
        for what, parts in (("answer", {}), ("other file", {"path": "/x"}), ("refusal", {"user": "alice"}),
                            ("download", {"path": "/mailvane.cgi?action=export_postfix_log"})):
            with self.subTest(server=name, what=what):
                got = request(**parts).headers
                self.assertEqual({key: got.get_all(key) for key in HEADERS},
                                 {key: [value] for key, value in HEADERS.items()})
