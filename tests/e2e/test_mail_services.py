"""The pages of the mailboxes and of the relay host."""
import contextlib
import json
import os
import smtplib
import socket
import subprocess
import threading

import harness
import nameserver
from harness import DOMAIN, ETC, answers, delivered, post, read, send
from machine import QUEUE, contents, write
from pages import Pages
from relay_host import RelayHost

ALICE = "alice@" + DOMAIN
BOB = "bob@" + DOMAIN
STRANGER = "203.0.113.1"  # one of a network that the machine does not know
OWN_LINES = ETC + "/local.d/main.cf"
PASSWORD = "S3cret: %word"
RELAY_KEY, RELAY_CERTIFICATE = "/etc/relay-key.pem", "/etc/relay-cert.pem"  # of relay.test
AUTHORITY = "smtp_tls_CAfile = %s\n" % RELAY_CERTIFICATE
DNS = nameserver.NameServer("host-record=relay.test,127.0.0.1", "host-record=other.test,127.0.0.1")


def setUpModule():
    nameserver.local_network("203.0.113.0/24")
    DNS.start()
    harness.run("/usr/bin/openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "9",
                "-subj", "/CN=relay.test", "-addext", "subjectAltName=DNS:relay.test",
                "-keyout", RELAY_KEY, "-out", RELAY_CERTIFICATE)


def talk(port, *lines, tls=False, source=STRANGER):
    """What a server says to some lines sent one after the other, its greeting first."""
    with socket.create_connection(("127.0.0.1", port), harness.PATIENCE, (source, 0)) as connection:
        if tls:
            connection = harness.unverified().wrap_socket(connection)
        with connection, connection.makefile("rb") as answer:
            said = [answer.readline().decode()]
            for line in lines:
                connection.sendall(line.encode() + b"\r\n")
                said.append(answer.readline().decode())
    return said


class Mailboxes(Pages):
    def test_each_service_is_switched_by_itself(self):
        standard = {"imap": 143, "imaps": 993, "pop3": 110, "pop3s": 995}
        for on in standard:
            self.change("save_imap_pop3", **{name + "_enabled": name == on for name in standard})
            with self.subTest(on):
                self.assertEqual({name: answers(port) for name, port in standard.items()},
                                 {name: name == on for name in standard})
                self.assert_is(on, standard[on])
        page = read("load_imap_pop3").json()
        self.assertEqual([page[name + "_enabled"] for name in standard],
                         [False, False, False, True])

    def assert_is(self, service, port):
        tls = service.endswith("s")
        if service.startswith("imap"):
            said = talk(port, "a LOGIN alice pw-alice" if tls else "a CAPABILITY", tls=tls)
            self.assertTrue(said[0].startswith("* OK"), said)
        else:
            said = talk(port, "USER alice" if tls else "CAPA", "PASS pw-alice", tls=tls)
            self.assertTrue(said[0].startswith("+OK"), said)
        self.assertTrue(said[-1].startswith(("+OK", "a OK", "*")) or not tls, said)

    def test_passwords_in_the_clear(self):
        for port, lines, yes, no in (
            (143, ["a LOGIN alice pw-alice"], "a OK", "* BAD"),
            (110, ["USER alice", "PASS pw-alice"], "+OK", "-ERR"),
        ):
            for allowed in (False, True):
                self.change("save_imap_pop3", pop3_enabled=True, plaintext_auth=allowed)
                with self.subTest(port=port, allowed=allowed):
                    said = talk(port, *lines)
                    self.assertTrue(said[-1].startswith(yes if allowed else no), said)


class SwitchedOff(Pages):
    def test_stays_off_through_saves_of_other_pages(self):
        self.assert_saved(smtp_enabled=False)
        self.change("save_imap_pop3", pop3_enabled=True)
        self.change("save_relay", smtp_relay_enabled=True, smtp_relay_server="relay.test")
        self.change("add_domain", domain="asleep.test")
        self.change("delete_domain", domainList=[{"domain": "asleep.test"}])
        self.change("add_dnsb", server="ip.bl.test", type="rbl_client")
        self.change("del_dnsb", dnsbList=[{"server": "ip.bl.test", "type": "rbl_client"}])
        self.assertEqual([answers(port) for port in (25, 587, 143, 110)],
                         [False, False, True, True])

        self.change("save_imap_pop3", imap_enabled=False, imaps_enabled=False, pop3_enabled=False,
                    pop3s_enabled=False)
        self.change("save_relay", smtp_relay_enabled=False)
        self.assertFalse(os.path.exists("/run/dovecot/master.pid"), "nobody needs it")


class EndOfMessage(harness.Story):
    """Other servers relay what only looks like the end of a message. What follows it must not become
    a message of its own: it would carry their good name."""

    false_ends = (b"\n.\r\n", b"\r\n.\n", b"\n.\n", b"\r.\r", b"\r\n.\r", b"\r.\r\n")
    hidden = (b"MAIL FROM:<forged@mv.test>\r\nRCPT TO:<bob@mv.test>\r\nDATA\r\n"
              b"Subject: smuggled\r\n\r\nInner text.\r\n.\r\n")

    @staticmethod
    def hand_in(port, data, source=STRANGER):
        """All that the server says to a message's bytes, with a login on port 587."""
        with smtplib.SMTP("127.0.0.1", port, "client.test", 20, (source, 0)) as client:
            if port == 587:
                client.starttls(context=harness.unverified())
                client.login("alice", "pw-alice")
            client.ehlo_or_helo_if_needed()
            for line in ("MAIL FROM:<%s>" % ALICE, "RCPT TO:<%s>" % BOB, "DATA"):
                code, words = client.docmd(line)
                assert code in (250, 354), words
            client.send(data)
            first = client.getreply()[1]
            client.send(b"QUIT\r\n")
            return first + b"\n" + client.file.read()

    def test_is_the_standard_one_alone(self):
        for number, (port, end) in enumerate((port, end) for port in (25, 587)
                                             for end in self.false_ends):
            with self.subTest(port=port, end=end):
                subject = "outer %02d" % number
                said = self.hand_in(port, b"Subject: %s\r\n\r\nOuter text.%s%s" % (
                    subject.encode(), end, self.hidden))
                self.assertEqual(said.count(b"queued as"), 1, said)
                self.assertIn("Inner text.", delivered("bob", subject))
        self.assertEqual(harness.mails("bob", "smuggled"), [])

    def test_lines_that_end_in_line_feeds_alone_are_taken(self):
        text = b"From: %s\nSubject: %s\n\nA line.\n..\nLast line."
        for name, port, source, end in (("stranger", 25, STRANGER, b"\r\n.\r\n"),
                                        ("login", 587, STRANGER, b"\r\n.\r\n"),
                                        ("own program", 25, "127.0.0.1", b"\n.\n")):
            with self.subTest(name):
                subject = "lines of " + name
                said = self.hand_in(port, text % (ALICE.encode(), subject.encode()) + end, source)
                self.assertEqual(said.count(b"queued as"), 1, said)
                self.assertIn("Last line.", delivered("bob", subject))
        subprocess.run(["/usr/sbin/sendmail", "-i", BOB], check=True,
                       input=b"Subject: lines of sendmail\n\nA line.\n.\nLast line.\n")
        self.assertIn("Last line.", delivered("bob", "lines of sendmail"))


class Relay(Pages):
    def setUp(self):
        super().setUp()
        self.host = RelayHost(2526, ("us er@isp.test", PASSWORD), RELAY_CERTIFICATE, RELAY_KEY)
        self.enterContext(self.host)
        self.addCleanup(os.unlink, OWN_LINES)
        write(OWN_LINES, AUTHORITY)

    page = {"smtp_relay_enabled": True, "smtp_relay_server": "relay.test", "smtp_relay_port": 2526,
            "smtp_relay_tls": True, "smtp_relay_auth": True,
            "smtp_relay_account": "us er@isp.test", "smtp_relay_password": PASSWORD}

    def send_out(self, subject):
        send(ALICE, [subject.replace(" ", ".") + "@faraway.test"], subject, port=587, login="alice")

    def relayed(self, subject):
        """Waits for a mail at the relay host; whether it came by TLS."""
        return harness.wait_for(lambda: self.host.has(subject), subject)[0]

    def stays(self, subject, why="certificate not verified"):
        """Sends a mail that waits, and is not lost."""
        self.send_out(subject)
        reason = harness.wait_for(lambda: self.delay(subject.replace(" ", ".")), "the reason")
        self.assertIn(why, reason)
        self.assertEqual(self.host.logins, [])

    @staticmethod
    def delay(name):
        """Why mail to somebody waits."""
        rows = [row for line in harness.run(*QUEUE, "-j").splitlines()
                for row in json.loads(line)["recipients"]]
        return "".join(row.get("delay_reason", "") for row in rows
                       if row["address"] == name + "@faraway.test")

    @staticmethod
    def login_check():
        words = {row["key"]: row["status"] for row in read("mailvane_check").json()["settings"]}
        return words["relay_login"]

    def test_mail_leaves_with_the_login(self):
        self.change("save_relay", **self.page)
        self.send_out("relayed")
        self.assertTrue(self.relayed("relayed"), "with TLS")
        self.assertEqual(self.login_check(), "OK")
        send("x@elsewhere.test", [BOB], "at home")
        delivered("bob", "at home")
        self.assertIsNone(self.host.has("at home"))

    def test_a_host_that_begins_with_tls(self):
        with RelayHost(465, self.host.login, RELAY_CERTIFICATE, RELAY_KEY, wraps=True) as self.host:
            self.change("save_relay", **{**self.page, "smtp_relay_port": 465})
            self.send_out("from the first byte")
            self.assertTrue(self.relayed("from the first byte"))

    def test_a_wrong_login_loses_no_mail(self):
        self.change("save_relay", **{**self.page, "smtp_relay_password": "wrong"})
        self.send_out("wrong login")
        reason = harness.wait_for(lambda: self.delay("wrong.login"), "the reason")
        self.assertIn("535 5.7.8 wrong login", reason)
        self.change("save_relay", **self.page)
        harness.run(*QUEUE, "-f")
        self.assertTrue(self.relayed("wrong login"))

    def test_a_host_without_tls(self):
        self.host.offers_tls = False
        self.change("save_relay", **self.page)
        self.stays("in the clear", "TLS is required")
        self.change("save_relay", **{**self.page, "smtp_relay_tls": False})
        harness.run(*QUEUE, "-f")
        self.assertFalse(self.relayed("in the clear"), "as allowed")
        self.assertEqual(self.login_check(), "WARNING")

    def test_the_login_is_for_who_proves_the_name(self):
        write(OWN_LINES, "")
        self.change("save_relay", **self.page)
        self.stays("nobody vouches")
        write(OWN_LINES, AUTHORITY)
        for name, server in (("another name", "other.test"), ("an address", "127.0.0.1")):
            self.change("save_relay", **{**self.page, "smtp_relay_server": server})
            self.stays(name)
        write(OWN_LINES, AUTHORITY + "smtp_tls_secure_cert_match = relay.test\n")
        self.change("save_relay")
        harness.run(*QUEUE, "-f")
        self.assertTrue(self.relayed("an address"))

    def test_a_relay_from_before_goes_on_until_it_is_saved(self):
        write(OWN_LINES, "")
        self.change("save_relay", **self.page)
        stored = contents(ETC + "/mailvane.conf")
        write(ETC + "/mailvane.conf", stored.replace('smtp_relay_verified="yes"\n', ""))
        harness.run(harness.TARGET + "/bin/hald_set_config", "apply")
        self.assert_saved(smtp_hostname="host1.example.test")
        self.send_out("as before")
        self.assertTrue(self.relayed("as before"))
        self.assertEqual(self.login_check(), "WARNING")
        self.change("save_relay")
        self.assertEqual(harness.postconf("smtp_tls_security_level"), "secure")

    def test_the_password_goes_to_its_server_alone(self):
        self.change("save_relay", **self.page)
        for change in ({"smtp_relay_server": "other.test"}, {"smtp_relay_port": 2527},
                       {"smtp_relay_tls": False}):
            for action in ("save_relay", "save_advance_anti_spam"):
                with self.subTest(change, action=action):
                    log = harness.SystemLog()
                    self.assert_refused(action, **change)
                    self.assertIn("type it again", "".join(log.lines()))
        self.change("save_relay", smtp_relay_account="other")
        self.change("save_relay", **{**self.page, "smtp_relay_password": ""})
        self.send_out("kept")
        self.relayed("kept")
        self.change("save_relay", smtp_relay_server="other.test", smtp_relay_password=PASSWORD)
        self.change("save_relay", smtp_relay_auth=False, smtp_relay_server="relay.test")

    def test_the_password_is_nowhere_to_be_seen(self):
        seen, done = [], threading.Event()
        watcher = threading.Thread(target=self.watch_processes, args=(seen, done))
        watcher.start()
        saved = post({"action": "save_relay", **self.page})
        self.send_out("watched")
        self.relayed("watched")
        loaded = read("load_relay")
        done.set()
        watcher.join()
        self.assertGreater(len(seen), 100, "processes were seen")
        secret = PASSWORD.encode()
        self.assertFalse([line for line in seen if secret in line])
        self.assertNotIn(secret, saved.body + loaded.body)
        for name in ("/var/log/syslog", "/var/log/mailvane/maillog"):
            with open(name, "rb") as file:
                self.assertNotIn(secret, file.read(), name)
        for folder, _, names in os.walk(ETC):
            for path in (os.path.join(folder, name) for name in names):
                self.assert_private(path, secret)

    @staticmethod
    def watch_processes(seen, done):
        while not done.is_set():
            for pid in filter(str.isdigit, os.listdir("/proc")):
                for name in ("cmdline", "environ"):
                    with contextlib.suppress(OSError), open("/proc/%s/%s" % (pid, name), "rb") as f:
                        seen.append(f.read())

    def assert_private(self, path, secret):
        """A file that holds the secret is for root's eyes only."""
        with open(path, "rb") as file:
            if secret in file.read():
                info = os.stat(path)
                self.assertEqual((info.st_uid, info.st_mode & 0o077), (0, 0), path)


tearDownModule = DNS.stop
