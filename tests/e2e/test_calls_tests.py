"""The calls that try whether mail gets anywhere: the relay host, and a message to a user."""
import contextlib
import os
import socket
import time

import harness
import nameserver
import routed_network
from harness import ETC, ask, control, delivered
from machine import contents, write
from pages import Pages
from relay_host import RelayHost

RELAY = "10.3.0.7"  # of the net behind the router
LOGIN = ("me", "a s3cret of the relay")
KEY, CERTIFICATE = "/root/relay.key", "/root/relay.pem"
DNS = nameserver.NameServer("address=/relay.test/" + RELAY, "address=/own.test/10.1.0.1",
                            "address=/both.test/::ffff:127.0.0.9")


def setUpModule():
    routed_network.make()
    DNS.start()
    harness.run("/usr/bin/openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "9",
                "-subj", "/CN=relay.test", "-addext", "subjectAltName=DNS:relay.test",
                "-keyout", KEY, "-out", CERTIFICATE)


tearDownModule = DNS.stop


def relay_host(port, **more):
    """A relay host behind the router."""
    with routed_network.standing_at("client"):
        return RelayHost(port, address=RELAY, **more)


class Relay(Pages):
    def tried(self, **changes):
        """What comes of the stored relay host, with some settings changed."""
        members = {"smtp_relay_enabled": True, "smtp_relay_server": "relay.test",
                   "smtp_relay_port": 2525, "smtp_relay_tls": False, "smtp_relay_auth": False,
                   **changes}
        self.change("save_relay", **{name: value for name, value in members.items()
                                     if value is not None})
        told = ask("relay_test", {})
        self.assertEqual((told["success"], told["works"]), (True, told["code"] == ""), told)
        return told["step"], told["code"], told["status"]

    def login(self, password):
        return {"smtp_relay_auth": True, "smtp_relay_account": LOGIN[0],
                "smtp_relay_password": password}

    def test_greeted_and_logged_in_to(self):
        log = harness.SystemLog()
        with relay_host(2525, login=LOGIN) as relay:
            self.assertEqual(self.tried(), ("", "", 250))
            self.assertEqual(self.tried(**self.login(LOGIN[1])), ("", "", 250))
            self.assertEqual(relay.logins, ["\0".join(("", *LOGIN)).encode()])
            self.assertEqual(self.tried(**self.login("another")), ("login", "rejected", 535))
            self.assertEqual((relay.mails, relay.recipients), ([], []))
        self.assertNotIn(LOGIN[1], "\n".join(log.lines() + log.audit()))

    def test_encryption_as_stored(self):
        with relay_host(2525, certificate=CERTIFICATE, key=KEY):
            self.assertEqual(self.tried(smtp_relay_tls=True), ("", "", 250))
            # Whoever is told a login has to prove its name.
            self.assertEqual(self.tried(smtp_relay_tls=True, **self.login("x"))[:2],
                             ("encryption", "no_match"))
        with relay_host(2525):
            self.assertEqual(self.tried(smtp_relay_tls=True)[:2], ("encryption", "missing"))

    def test_nobody_there(self):
        self.assertEqual(self.tried(), ("connection", "down", 0))
        self.assertEqual(self.tried(smtp_relay_server="nobody.test"), ("name", "missing", 0))

    def test_what_never_answers_is_given_up_in_time(self):
        with routed_network.standing_at("client"):
            silent = socket.create_server((RELAY, 2525))
        with contextlib.closing(silent):
            begun = time.monotonic()
            self.assertEqual(self.tried()[1:], ("timeout", 0))
            with DNS.silent():
                self.assertIn(self.tried()[1], ("timeout", "missing"))
        self.assertLess(time.monotonic() - begun, 60)

    def test_this_machine_is_no_relay_host(self):
        self.change("save_relay", smtp_relay_enabled=False)
        self.assert_told_reason({"setting": "smtp_relay_enabled", "code": "off"})
        self.change("save_relay", smtp_relay_enabled=True, smtp_relay_server="relay.test")
        stored = contents(ETC + "/mailvane.conf")
        self.addCleanup(write, ETC + "/mailvane.conf", stored)
        for name in ("127.0.0.1", "127.9.9.9", "127.1", "0.0.0.0", "[::1]", "localhost", "10.1.0.1",
                     "[fd00:1::1]", "own.test", "both.test"):
            with self.subTest(name):
                write(ETC + "/mailvane.conf", stored.replace("relay.test", name))
                self.assert_told_reason({"setting": "smtp_relay_server", "code": "loops"})

    def assert_told_reason(self, reason):
        answer = harness.post({"call": "relay_test"}, path="/upkeep.cgi")
        self.assertIs(answer.json()["success"], False)
        self.assertEqual(answer.headers["X-Mailvane-Reason"].replace('": ', '":'),
                         '[{"setting":"%(setting)s","code":"%(code)s"}]' % reason)


class Mail(harness.Story):
    LAST = "/run/mailvane/mail_test"

    def sent(self, **members):
        """What becomes of a message, as if the last one were long ago."""
        with contextlib.suppress(FileNotFoundError):
            os.unlink(self.LAST)
        return ask("mail_test", members)

    def test_what_becomes_of_it(self):
        told = self.sent(to="bob")
        self.assertEqual((told["to"], told["outcome"], told["reason"]),
                         ("bob@mv.test", "delivered", ""))
        self.assertIn("Auto-Submitted", delivered("bob", "Test of the mail server"))
        self.assertEqual(self.sent()["to"], "postmaster@mv.test")
        again = ask("mail_test", {"to": "bob"})
        self.assertIs(again["success"], False)

        control("dovecot", "stop")
        self.addCleanup(control, "dovecot", "start")
        told = self.sent(to="bob")
        self.assertEqual(told["outcome"], "waits")
        self.assertIn("dovecot-lmtp", told["reason"])
        self.assertIn(told["id"], [one["id"] for one in ask("queue_list")["messages"]])
        control("postfix", "stop")
        self.addCleanup(control, "postfix", "start")
        begun = time.monotonic()
        told = self.sent(to="bob")
        self.assertEqual((told["success"], told.get("outcome", "waits")), (True, "waits"), told)
        self.assertLess(time.monotonic() - begun, 20)

    def test_to_nobody_else(self):
        for name in ("nobody", "root", "x@elsewhere.test", "-bp", "../bob", "bob,carol", "bob\nx"):
            self.assertIs(self.sent(to=name)["success"], False, name)
        self.assertFalse(os.path.exists(self.LAST))
