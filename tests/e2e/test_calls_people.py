"""Calls about users, names and certificates: what they do to mail, logins and daemons."""
import base64
import contextlib
import glob
import hashlib
import http.client
import imaplib
import json
import os
import pwd
import shutil
import smtplib
import ssl
import time

import calls
import harness
import nameserver
from harness import DOMAIN, ETC, TARGET, SystemLog, delivered, run, send, wait_for
from machine import contents, failing, in_place_of, write
from pages import Pages

FIRST, SECOND = "a first s3cret", "the s3cond: one"
TLS_PORT = 8443


def login(name, password):
    with imaplib.IMAP4("127.0.0.1", 143, timeout=harness.PATIENCE) as client:
        client.starttls(harness.unverified())
        client.login(name, password)


class Calls(Pages):
    def done(self, call, **members):
        answer = calls.tell(call, **members)
        self.assertIs(answer.json()["success"], True, answer)
        return answer.json()

    def told(self, call, **parameters):
        answer = calls.ask(call, **parameters)
        self.assertIs(answer.json()["success"], True, answer)
        return answer.json()

    def refused(self, call, *reason, **members):
        """A call that is refused for one reason, and changes nothing."""
        before = harness.snapshot(ETC), pwd.getpwall(), contents("/etc/shadow")
        answer = calls.tell(call, **members)
        self.assertEqual((answer.json()["success"], answer.reasons()), (False, [reason]))
        self.assertEqual((harness.snapshot(ETC), pwd.getpwall(), contents("/etc/shadow")), before)


class Users(Calls):
    def test_from_the_first_mail_to_a_kept_mailbox(self):
        log = SystemLog()
        access = self.done("user_add", name="dora", password=FIRST)
        self.assertEqual((access["address"], access["login"]), ("dora@" + DOMAIN, "dora"))
        self.assertEqual([one["port"] for one in access["incoming"] if one["answers"]], [143])
        send("bob@" + DOMAIN, ["dora@" + DOMAIN], "welcome")
        wait_for(lambda: glob.glob("/home/dora/Maildir/new/*"), "the mail")
        login("dora", FIRST)
        self.done("user_password", name="dora", password=SECOND)
        self.assertRaises(imaplib.IMAP4.error, login, "dora", FIRST)
        login("dora", SECOND)
        users = self.told("user_list", query="dor")
        self.assertEqual(([user["name"] for user in users["users"]], users["total"]), (["dora"], 1))
        page = self.told("user_list", start=1, limit=1)
        self.assertEqual((len(page["users"]), page["total"]), (
            1, sum(1000 <= user.pw_uid <= 65533 for user in pwd.getpwall())))
        self.assertEqual(self.told("user_show", name="dora")["login"], "dora")

        harness.tell("apply_alias_info", aliasname="music",
                     member=[{"name": "dora", "type": 0, "is_join": True}])
        self.addCleanup(harness.tell, "alias_del", alias=["music"])
        gone = self.done("user_remove", name="dora", mailbox="keep")
        self.assertEqual((gone["kept"], gone["home"], gone["aliases"]),
                         (True, "/home/dora", ["music"]))
        kept = os.stat("/home/dora")
        self.assertEqual((kept.st_uid, kept.st_mode & 0o777), (0, 0o700))
        self.assertRaises(KeyError, pwd.getpwnam, "dora")
        self.addCleanup(shutil.rmtree, "/home/dora")
        self.refused("user_add", "home", "taken", name="dora", password=FIRST)
        audit = log.audit()
        self.assertIn('user "admin", address 127.0.0.1, action user_remove: done; to change: dora',
                      "\n".join(audit))
        for word in (FIRST, SECOND):
            for path in (harness.SYSLOG, "/var/log/mailvane/dovecot.log"):
                self.assertNotIn(word, contents(path))

    def test_who_is_not_changed(self):
        harness.tell("apply_alias_info", aliasname="Sales",
                     member=[{"name": "bob", "type": 0, "is_join": True}])
        self.addCleanup(harness.tell, "alias_del", alias=["Sales"])
        run("/usr/sbin/usermod", "--shell", "/bin/bash", "carol")
        self.addCleanup(run, "/usr/sbin/usermod", "--shell", "/usr/sbin/nologin", "carol")
        for name, code in (("Dora", "no_name"), ("../x", "no_name"), ("", "no_name"),
                           ("-dora", "no_name"), ("do:ra", "no_name"), ("x" * 33, "no_name"),
                           ("dora\n", "no_name"), ("bob", "taken"), ("nobody", "taken"),
                           ("sales", "taken"), ("postmaster", "taken"), ("abuse", "taken")):
            with self.subTest(name):
                self.refused("user_add", "name", code, name=name, password=FIRST)
        for password, code in (("", "too_short"), ("é" * 9, "too_short"), ("x" * 129, "too_long"),
                               ("with a \t in it", "not_text"), ("line\nroot:x12345", "not_text")):
            with self.subTest(password):
                self.refused("user_add", "password", code, name="ellen", password=password)
                self.refused("user_password", "password", code, name="bob", password=password)
        for name, code in (("root", "missing"), ("nobody", "missing"), ("nosuch", "missing"),
                           ("", "missing"), ("admin", "refused"), ("carol", "refused")):
            with self.subTest(name):
                self.refused("user_password", "name", code, name=name, password=FIRST)
                self.refused("user_remove", "name", code, name=name, mailbox="delete")
        self.refused("user_remove", "mailbox", "no_choice", name="bob", mailbox="burn")
        self.assertEqual([calls.ask("user_show", user="alice", name="bob").status,
                          calls.tell("user_add", user="alice", name="x", password=FIRST).status],
                         [403, 403])

    def test_users_of_a_directory_are_left_to_it(self):
        stored = contents(ETC + "/mailvane.conf")
        self.addCleanup(write, ETC + "/mailvane.conf", stored)
        write(ETC + "/mailvane.conf", 'account_type="win"\n' + stored)
        for call in ("user_list", "user_show"):
            self.assertEqual(calls.ask(call, name="bob").reasons(),
                             [("account_type", "refused")])
        for call in ("user_add", "user_password", "user_remove"):
            self.refused(call, "account_type", "refused", name="bob", password=FIRST,
                         mailbox="delete")

    def test_a_failed_password_leaves_no_account(self):
        with failing("/usr/sbin/chpasswd"):
            self.refused("user_add", "password", "refused", name="dora", password=FIRST)
        self.assertFalse(os.path.exists("/home/dora"))

    def test_passwords_are_nowhere_to_be_read(self):
        """While chpasswd waits: no command line or environment holds it, and no core could."""
        pattern = contents("/proc/sys/kernel/core_pattern")
        script = ("cat /proc/[0-9]*/cmdline /proc/[0-9]*/environ >/run/seen 2>/dev/null\n"
                  "ulimit -c >/run/limit\nexec /usr/sbin/chpasswd.real\n")
        with in_place_of("/usr/sbin/chpasswd", script):
            self.done("user_password", name="bob", password=SECOND)
        self.addCleanup(run, "/bin/sh", "-c", "echo bob:pw-bob | chpasswd")
        login("bob", SECOND)
        with open("/run/seen", "rb") as file:
            seen = file.read()
        self.assertIn(b"upkeep.cgi", seen)
        self.assertNotIn(SECOND.encode(), seen)
        # One block of 512 bytes or less: the kernel writes none, and calls no program of `pattern`.
        self.assertIn(contents("/run/limit").strip(), ("0", "1"), pattern)

    def test_the_own_login_of_the_web(self):
        def status(password):
            head = {"Authorization": "Basic " + base64.b64encode(
                ("admin:" + password).encode()).decode()}
            return harness.request("/mailvane.cgi?action=load_smtp", user=None,
                                   headers=head).status

        before = os.stat(ETC + "/htpasswd")
        self.addCleanup(write, ETC + "/htpasswd", contents(ETC + "/htpasswd"))
        self.assertEqual(status("pw-admin"), 200)
        others = [line for line in contents(ETC + "/htpasswd").splitlines()
                  if not line.startswith("admin:")]
        self.refused("own_password", "old", "refused", old="wrong", new=SECOND)
        self.refused("own_password", "new", "too_short", old="pw-admin", new="short")
        self.done("own_password", old="pw-admin", new=SECOND)
        after = os.stat(ETC + "/htpasswd")
        self.assertEqual((after.st_mode, after.st_uid, after.st_gid),
                         (before.st_mode, before.st_uid, before.st_gid))
        lines = contents(ETC + "/htpasswd").splitlines()
        self.assertEqual([line for line in lines if not line.startswith("admin:")], others)
        self.assertEqual((status(SECOND), status("pw-admin")), (200, 401))


class Names(Calls):
    def test_what_is_published(self):
        harness.command("generate_dkim_key")
        harness.tell("save_security", **{**{name: value for name, value in harness.read(
            "load_security").json().items() if name != "success"}, "dkim_selector": "mail"})
        told = self.told("dns_records")
        uses = [record["use"] for record in told["records"]]
        self.assertEqual(uses[:4], ["MX", "SPF", "DKIM", "DMARC"])
        services = {record["name"].partition("._tcp")[0]: record["value"]
                    for record in told["records"] if record["use"] == "SRV"}
        self.assertEqual(services, {"_submission": "0 1 587 mv.test.", "_imap": "0 1 143 mv.test."})
        self.assertEqual([note["code"] for note in told["notes"]][:1], ["host"])
        key = [record["value"] for record in told["records"] if record["use"] == "DKIM"][0]
        self.assertEqual(len(self.told("dkim_list")["pairs"]), 1)
        parts = ",".join(key[start:start + 200] for start in range(0, len(key), 200))
        server = nameserver.NameServer(
            "mx-host=%s,other.test,10" % DOMAIN, "txt-record=%s,v=spf1 mx -all" % DOMAIN,
            "txt-record=%s,something é else" % DOMAIN,
            "txt-record=mail._domainkey.%s,%s" % (DOMAIN, parts),
            "srv-host=_imap._tcp.%s,mv.test,143,0,1" % DOMAIN)
        server.start()
        self.addCleanup(server.stop)
        records = self.told("dns_check", domain=DOMAIN)["records"]
        self.assertEqual({record["name"].partition("._tcp")[0] if record["use"] == "SRV" else
                          record["use"]: record["state"] for record in records},
                         {"MX": "differs", "SPF": "published", "DKIM": "published",
                          "DMARC": "missing", "_submission": "missing", "_imap": "published"})
        self.assertEqual(records[0]["found"], ["other.test"])
        self.assertIn("something ?? else", records[1]["found"])
        with server.silent():
            begin = time.monotonic()
            states = {one["state"] for one in self.told("dns_check", domain=DOMAIN)["records"]}
            self.assertEqual(states, {"no answer"})
            self.assertLess(time.monotonic() - begin, 8)
        answer = calls.ask("dns_check", domain="elsewhere.test")
        self.assertEqual(answer.reasons(), [("domain", "missing")])


def make(name, host, *more, key="ec"):
    """The texts of a certificate, signed by itself, and its key."""
    paths = ["/root/%s.%s" % (name, kind) for kind in ("cert", "key")]
    kind = ["ec", "-pkeyopt", "ec_paramgen_curve:prime256v1"] if key == "ec" else [key]
    run("/usr/bin/openssl", "req", "-x509", "-newkey", *kind, "-nodes", "-days", "30",
        "-subj", "/CN=" + host, "-addext", "subjectAltName=DNS:" + host, *more,
        "-out", paths[0], "-keyout", paths[1])
    return {"certificate": contents(paths[0]), "key": contents(paths[1])}


def signed_by(issuer, host):
    """A certificate that another one signs, and its key."""
    write("/root/ca.cert", issuer["certificate"])
    write("/root/ca.key", issuer["key"])
    return make("leaf", host, "-CA", "/root/ca.cert", "-CAkey", "/root/ca.key")


def shown(port):
    data = ssl.PEM_cert_to_DER_cert(ssl.get_server_certificate(("127.0.0.1", port)))
    return hashlib.sha256(data).digest().hex(":").upper()


def shows(port, fingerprint):
    """Whether the server at a port has a certificate; not so while it restarts."""
    with contextlib.suppress(OSError):
        return shown(port) == fingerprint
    return False


@contextlib.contextmanager
def routed():
    """While it lasts, the gate hands requests with a mark to upkeep."""
    script = '[ -z "$HTTP_X_UPKEEP" ] || exec %s/ui/upkeep.cgi\nexec %s.real\n'
    with in_place_of(harness.PROGRAM, script % (TARGET, harness.PROGRAM)):
        yield


def over_tls(call, **members):
    """Answer to a call that came through the package's web server, by TLS."""
    login_of = base64.b64encode(b"admin:pw-admin").decode()
    connection = http.client.HTTPSConnection("127.0.0.1", TLS_PORT, timeout=harness.PATIENCE,
                                             context=harness.unverified())
    with contextlib.closing(connection):
        connection.request("POST", "/mailvane.cgi", calls.body_of(call, members), {
            "Authorization": "Basic " + login_of, "X-Upkeep": "1",
            "Content-Type": "application/json"})
        return json.loads(connection.getresponse().read())


class Certificates(Calls):
    def test_installed_through_the_web_server_that_shows_it(self):
        harness.tell("save_imap_pop3", imaps_enabled=True, imaps_port=993, imap_enabled=True,
                     imap_port=143)
        own = self.told("tls_show")
        self.assertEqual((own["installed"], own["self_signed"], own["for_host"],
                          own["fingerprint"]), (False, True, True, shown(993)))
        self.assertEqual(self.done("tls_install", **make("good", DOMAIN))["web_server"],
                         "restarted")
        self.addCleanup(self.done, "tls_remove")
        self.assertEqual({shown(TLS_PORT), shown(993)}, {self.told("tls_show")["fingerprint"]})

        log = SystemLog()
        with routed():
            chain = signed_by(make("ca", "Authority", "-addext", "basicConstraints=critical,CA:true"),
                              "far.example")
            answer = over_tls("tls_install", **chain)
            self.assertEqual((answer["success"], answer["web_server"], answer["for_host"],
                              answer["self_signed"]), (True, "restarts", False, False))
            wait_for(lambda: shows(TLS_PORT, answer["fingerprint"]), "the web server")
            with failing("web"):
                refused = over_tls("tls_install", **make("other", DOMAIN))
                self.assertEqual(refused["web_server"], "restarts")
                self.assertNotEqual(refused["fingerprint"], answer["fingerprint"])
                wait_for(lambda: "did not come up" in "\n".join(log.lines()), "the end of it")
            wait_for(lambda: shows(TLS_PORT, answer["fingerprint"]), "the web server")
        self.assertEqual({shown(TLS_PORT), shown(993), self.told("tls_show")["fingerprint"]},
                         {answer["fingerprint"]})
        with failing("web"):
            self.refused_by_a_service("web", make("other", DOMAIN))
        with failing("dovecot"):
            self.refused_by_a_service("dovecot", make("other", DOMAIN))
        self.assertEqual({shown(TLS_PORT), shown(993)}, {answer["fingerprint"]})

    def refused_by_a_service(self, service, pair):
        reasons = calls.tell("tls_install", **pair).reasons()
        self.assertIn(service, [name for name, _ in reasons])

    def test_what_is_refused(self):
        good, other = make("good", DOMAIN), make("other", DOMAIN)
        authority = make("ca", "Authority", "-addext", "basicConstraints=critical,CA:true")
        leaf = signed_by(authority, DOMAIN)
        locked = run("/usr/bin/openssl", "pkey", "-in", "/root/good.key", "-aes256", "-passout",
                     "pass:x")
        write("/root/good.key", good["key"])
        old = run("/usr/bin/faketime", "-f", "-90d", "/usr/bin/openssl", "req", "-x509", "-key",
                  "/root/good.key", "-days", "30", "-subj", "/CN=" + DOMAIN)
        new = run("/usr/bin/faketime", "-f", "+90d", "/usr/bin/openssl", "req", "-x509", "-key",
                  "/root/good.key", "-days", "30", "-subj", "/CN=" + DOMAIN)
        for reason, pair in (
                (("key", "no_match"), {**good, "key": other["key"]}),
                (("key", "encrypted"), {**good, "key": locked}),
                (("key", "bad_format"), {**good, "key": good["certificate"]}),
                (("key", "bad_format"), {"certificate": good["certificate"]}),
                (("key", "too_short"), make("weak", DOMAIN, key="rsa:1024")),
                (("certificate", "bad_format"), {**good, "certificate": good["key"]}),
                (("certificate", "bad_format"), {"certificate": "", "key": ""}),
                (("certificate", "bad_format"), {**good, "certificate": good["certificate"][:-80]}),
                (("certificate", "no_match"),
                 {**leaf, "certificate": leaf["certificate"] + other["certificate"]}),
                (("certificate", "too_long"), {**good, "key": "x" * 65536}),
                (("certificate", "expired"), {**good, "certificate": old}),
                (("certificate", "not_yet"), {**good, "certificate": new})):
            with self.subTest(reason):
                self.refused("tls_install", *reason, **pair)
        leaf["certificate"] += authority["certificate"]
        self.done("tls_install", **leaf)
        self.done("tls_remove")
