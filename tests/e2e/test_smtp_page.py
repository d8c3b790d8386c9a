"""The SMTP page: what is saved is what the mail server does."""
import smtplib

import harness
from harness import DOMAIN, answers, banner, delivered, send

ALICE = "alice@" + DOMAIN
BOB = "bob@" + DOMAIN


class Saving(harness.Story):
    def test_every_save_is_in_force_when_it_is_answered(self):
        for name in ("host1.example.test", "host2.example.test"):
            self.assert_saved(smtp_hostname=name)
            self.assertTrue(banner().startswith("220 " + name), banner())

    def test_ports_move(self):
        self.assert_saved(smtp_port=2525, smtp_tls_port=2587, smtp_ssl_enabled=True)
        self.assertEqual([answers(port) for port in (25, 587, 465, 2525, 2587)],
                         [False, False, True, True, True])
        self.assert_saved(smtp_port=2525, smtp_tls_enabled=False)
        self.assertFalse(answers(2587))
        self.assertTrue(banner(2525).startswith("220 "))
        self.assert_mail_flows("moved", port=2525)

    def test_a_stopped_server_stays_stopped(self):
        self.assert_saved(smtp_enabled=False, smtp_ssl_enabled=True)
        self.assertFalse(any(map(answers, (25, 465, 587))))
        self.assert_saved(smtp_hostname="asleep.example.test", smtp_port=26)
        self.assertFalse(any(map(answers, (25, 26, 465, 587))))
        self.assertEqual(harness.control("postfix", "start"), 0)
        self.assertFalse(answers(26))
        self.assertTrue(answers(143), "the mailboxes stay reachable")

        self.assert_saved(smtp_enabled=True)
        self.assertTrue(banner(26).startswith("220 asleep.example.test "))

    def test_an_open_session_survives_a_save(self):
        with smtplib.SMTP("127.0.0.1", 25, local_hostname="client.test") as client:
            client.ehlo()
            self.assert_saved(smtp_hostname="other.example.test")
            client.sendmail("x@elsewhere.test", [BOB], "Subject: survivor\n\nstill here\n")
        self.assertIn("still here", delivered("bob", "survivor"))


class Mail(harness.Story):
    def test_mail_arrives(self):
        send("someone@elsewhere.test", [BOB, "Carol@" + DOMAIN], "from outside")
        for user in ("bob", "carol"):
            self.assertIn("A message.", delivered(user, "from outside"))
        send(ALICE, ["bob+tag@" + DOMAIN], "from inside", port=587, login="alice")
        delivered("bob", "from inside")

    def test_mail_that_is_not_taken(self):
        refused = smtplib.SMTPRecipientsRefused
        for what, arguments in (
            ("unknown user", ("x@elsewhere.test", ["nobody-here@" + DOMAIN], "refused")),
            ("system account", ("x@elsewhere.test", ["daemon@" + DOMAIN], "refused")),
            ("relaying", ("x@elsewhere.test", ["y@faraway.test"], "refused")),
            ("relaying in a user's name", (ALICE, ["y@faraway.test"], "refused")),
            ("submission without login", (ALICE, [BOB], "refused", 587)),
        ):
            with self.subTest(what), self.assertRaises((refused, smtplib.SMTPSenderRefused)):
                send(*arguments)

    def test_passwords_are_checked(self):
        with smtplib.SMTP("127.0.0.1", 587, timeout=harness.PATIENCE) as client:
            client.ehlo()
            self.assertNotIn("auth", client.esmtp_features, "no password in the clear")
            client.starttls(context=harness.unverified())
            with self.assertRaises(smtplib.SMTPAuthenticationError):
                client.login("alice", "pw-bob")

    def test_a_login_sends_as_itself_only(self):
        send(BOB, [BOB], "before", port=587, login="alice")
        self.assert_saved(restrict_sender=True)
        for sender in (BOB, "stranger@elsewhere.test", "root@" + DOMAIN):
            with self.subTest(sender), self.assertRaises(smtplib.SMTPException) as refusal:
                send(sender, [BOB], "forged", port=587, login="alice")
            self.assertIn("5.7.1", str(refusal.exception))
        send(ALICE, [BOB], "honest", port=587, login="alice")
        send("alice+list@" + DOMAIN, [BOB], "honest too", port=587, login="alice")
        delivered("bob", "honest too")
        self.assertFalse(harness.mails("bob", "forged"))
