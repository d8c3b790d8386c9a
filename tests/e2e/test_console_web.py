"""The files of the console, as each web server sends them."""
import contextlib
import http.client
import json
import os
import re
import ssl

import harness
from browser import Browser
from harness import TARGET
import test_web_servers as servers

SITE = TARGET + "/console"
POLICY = ("default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
          "base-uri 'none'; form-action 'self'; frame-ancestors 'none'; "
          "require-trusted-types-for 'script'; trusted-types 'none'")
OWN = {"Content-Security-Policy": POLICY, "X-Content-Type-Options": "nosniff",
       "X-Frame-Options": "DENY", "Referrer-Policy": "same-origin",
       "Cross-Origin-Opener-Policy": "same-origin", "Cross-Origin-Resource-Policy": "same-origin",
       "Strict-Transport-Security": "max-age=31536000"}
# None of these is a file of the console.
OTHERS = ("/assets", "/assets/", "/assets/../x", "/assets/%2e%2e/etc", "/assets//a/b", "/assets/a/b",
          "/console", "/index.htm", "/index.html/", "/index.html.gz", "//index.html/x", "/x", "/etc/htpasswd",
          "/../etc/htpasswd", "/help", "/help/", "/help/../x.html", "/help/a/b/c.html", "/help/%2e%2e/etc/x.html", "/mailvane.cgi", "/mailvane.cgi/x", "/mailvane", "/web.log", "/.git", "/favicon.ico")
TYPES = {"js": "text/javascript; charset=utf-8", "css": "text/css; charset=utf-8",
         "json": "application/json", "svg": "image/svg+xml", "txt": "text/plain; charset=utf-8"}


def fetch(path, **headers):
    """The answer to a request of nobody, by TLS."""
    context = ssl.create_default_context(cafile=harness.ETC + "/tls/cert.pem")
    connection = http.client.HTTPSConnection("127.0.0.1", servers.TLS_PORT, timeout=harness.PATIENCE,
                                             context=context)
    with contextlib.closing(connection):
        connection.request("GET", path, headers=headers)
        return harness.Answer(connection.getresponse())


@contextlib.contextmanager
def without_lock():
    """A machine that takes no change."""
    lock = harness.ETC + "/lock"
    os.rename(lock, lock + ".aside")
    os.mkdir(lock)
    try:
        yield
    finally:
        os.rmdir(lock)
        os.rename(lock + ".aside", lock)


class Files(harness.Story):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        servers.make_certificate()
        servers.reserve_port()

    def test_each_server_sends_them_to_anybody_and_nothing_else(self):
        self.addCleanup(harness.control, "web", "restart")
        for name in servers.SERVERS:
            with servers.server(name), self.subTest(server=name):
                self.check_page()
                self.check_assets()
                self.check_help()
                self.check_statuses()
                for path in OTHERS:
                    with self.subTest(path):
                        answer = fetch(path)
                        self.assertIn(answer.status, (400, 401))
                        self.assert_headers(answer, answer.headers.get("Content-Security-Policy"))

    def check_statuses(self):
        """What the programs, and the server before them, answer has every header, whatever its status."""
        change = json.dumps({"action": "save_smtp"}).encode()
        for wanted, parts in (
                (200, {}), (401, {"user": None}), (403, {"user": "alice"}), (404, {"path": "/x"}),
                (400, {"body": change[:-1]}), (405, {"method": "DELETE"}), (413, {"body": b" " * 5_000_000 + change}),
                (415, {"body": change, "headers": {"Content-Type": "text/plain"}})):
            answer = servers.request(**parts)
            with self.subTest(wanted):
                self.assertEqual(answer.status, wanted)
                self.assert_headers(answer, "")
        with without_lock():
            answer = servers.request(body=change)
            self.assertEqual(answer.status, 503)
            self.assert_headers(answer, "")

    def check_page(self):
        for path in ("/", "/index.html"):
            page = fetch(path)
            self.assertEqual((page.status, page.headers["Cache-Control"], page.headers["Content-Type"]),
                             (200, "no-cache", "text/html; charset=utf-8"), path)
            self.assert_headers(page, POLICY)
        named = re.findall(r'(?:href|src)="(/assets/[^"]+)"', page.body.decode())
        self.assertEqual(len(named), 4)
        self.assertEqual({fetch(path).status for path in named}, {200})

    def check_assets(self):
        names = [name for name in os.listdir(SITE + "/assets") if not name.endswith(".gz")]
        for name in names:
            plain, packed = fetch("/assets/" + name), fetch("/assets/" + name, **{"Accept-Encoding": "gzip"})
            with open("%s/assets/%s" % (SITE, name), "rb") as whole, \
                    open("%s/assets/%s.gz" % (SITE, name), "rb") as small:
                self.assertEqual((plain.body, packed.body), (whole.read(), small.read()), name)
            self.assertEqual((plain.headers["Content-Encoding"], packed.headers["Content-Encoding"]),
                             (None, "gzip"), name)
            for answer in (plain, packed):
                self.assertEqual(answer.headers["Content-Type"], TYPES[name.rpartition(".")[2]], name)
                self.assertEqual(answer.headers["Cache-Control"], "max-age=31104000")
                self.assert_headers(answer, POLICY)
        missing = fetch("/assets/app-0000000000.js")
        self.assertEqual(missing.status, 404)
        self.assertIn(missing.headers["Cache-Control"], (None, "no-store"))
        self.assert_headers(missing, missing.headers["Content-Security-Policy"])

    def check_help(self):
        for path in ("index.html", "guides/users.html", "style.css", "pictures/save.svg"):
            page = fetch("/help/" + path)
            kind = TYPES.get(path.rpartition(".")[2], "text/html; charset=utf-8")
            self.assertEqual((page.status, page.headers["Content-Type"]), (200, kind), path)
            self.assert_headers(page, POLICY)

    def assert_headers(self, answer, policy):
        """Every header once; the programs' answers have a policy of their own."""
        wanted = OWN if policy == POLICY else servers.HEADERS
        wanted = {name: value for name, value in wanted.items() if name != "Cache-Control"}
        self.assertEqual({name: answer.headers.get_all(name) for name in wanted},
                         {name: [value] for name, value in wanted.items()}, answer)

    def test_without_the_package_nothing_is_there(self):
        self.addCleanup(harness.control, "web", "restart")
        self.addCleanup(os.rename, TARGET + "/aside", TARGET + "/etc/web/console")
        os.rename(TARGET + "/etc/web/console", TARGET + "/aside")
        for name in servers.SERVERS:
            with servers.server(name), self.subTest(server=name):
                for path in ("/", "/index.html"):
                    self.assertEqual((fetch(path).status, servers.request(path=path).status), (401, 404))


class Certificate(harness.Story):
    HOME = "https://127.0.0.1:%d/" % servers.TLS_PORT
    POLICY = "/etc/chromium/policies/managed/certificate.json"
    FILE, PASSWORD = "/tmp/admin.p12", "the password of the file"

    def test_signs_in_to_the_page(self):
        self.addCleanup(harness.control, "web", "restart")
        servers.make_certificate()
        servers.setup("certificate", "admin", self.FILE, typed=self.PASSWORD + "\n")
        self.addCleanup(servers.setup, "certificate", "--forget", "admin")
        self.give_to_the_browser()
        with servers.server("lighttpd"), Browser("--ignore-certificate-errors", home=self.HOME) as browser:
            browser.open()
            browser.button("Sign in with a certificate of this browser").click()
            browser.wait(".who", "the owner of the certificate")
            browser.go("smtp")
            browser.fill("#field-smtp_hostname", "by.certificate.test")
            browser.button("Save").click()
            browser.wait(".notice", "Saved and in force.")
            self.assertEqual(harness.load()["smtp_hostname"], "by.certificate.test")
            self.assertEqual(browser.log(), [])

    def give_to_the_browser(self):
        """Puts the certificate into the browser's store, and lets it send that without asking."""
        store = "sql:" + os.path.expanduser("~/.pki/nssdb")
        os.makedirs(store[4:], exist_ok=True)
        harness.run("certutil", "-N", "-d", store, "--empty-password")
        harness.run("pk12util", "-i", self.FILE, "-d", store, "-W", self.PASSWORD, "-K", "")
        os.makedirs(os.path.dirname(self.POLICY), exist_ok=True)
        with open(self.POLICY, "w", encoding="ascii") as file:
            json.dump({"AutoSelectCertificateForUrls": [json.dumps({"pattern": self.HOME, "filter": {}})]}, file)
