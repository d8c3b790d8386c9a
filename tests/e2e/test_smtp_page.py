"""The SMTP page: what is saved is what the mail server does."""
import contextlib
import os
import smtplib
import ssl

import harness
from harness import DOMAIN, ETC, answers, banner, delivered, mails, run, send
from machine import contents, write

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

    def test_a_login_sends_as_itself_only(self):
        send(BOB, [BOB], "before", port=587, login="alice")
        self.assert_saved(restrict_sender=True)
        for sender in (BOB, "stranger@elsewhere.test", "root@" + DOMAIN):
            with self.subTest(sender), self.assertRaises(smtplib.SMTPException) as refusal:
                send(sender, [BOB], "forged", port=587, login="alice")
            self.assertIn("5.7.1", str(refusal.exception))
        run("/usr/sbin/groupadd", "--gid", "2001", "sellers")
        run("/usr/bin/gpasswd", "--members", "alice", "sellers")
        for alias, kind, name in (("sales", 0, "alice"), ("selling", 1, "sellers")):
            self.change("apply_alias_info", aliasname=alias, orgalias="",
                        member=[{"name": name, "type": kind, "is_join": True}])
        self.addCleanup(self.change, "alias_del", alias=["sales", "selling"])
        self.change("add_domain", domain="second.test")
        self.addCleanup(self.change, "delete_domain", domainList=[{"domain": "second.test"}])
        for sender, login in ((ALICE, "alice"), (ALICE, ALICE), ("alice+list@" + DOMAIN, "alice"),
                              ("alice@second.test", "alice"), ("sales@" + DOMAIN, "alice"),
                              ("selling@second.test", "alice"), (ALICE.upper(), "alice")):
            with self.subTest(sender, login=login):
                send(sender, [BOB], "honest " + sender, port=587, login=login)
                delivered("bob", "honest " + sender)
        self.assertFalse(mails("bob", "forged"))


def as_carol(*command):
    """What a program says to a user of the machine."""
    return run("/usr/bin/setpriv", "--reuid=carol", "--regid=carol", "--clear-groups", *command, check=False)


class Discretion(harness.Story):
    def test_nobody_is_told_who_has_a_mailbox(self):
        with smtplib.SMTP("127.0.0.1", 25, "client.test", harness.PATIENCE) as client:
            client.ehlo()
            self.assertEqual([client.verify(name)[0] for name in ("alice", "nobody-here")],
                             [502, 502])

    def test_users_of_the_machine_see_neither_the_queue_nor_what_is_watched(self):
        watcher = "bob+$biff@" + DOMAIN
        for kind, name in ((0, "sender@elsewhere.test"), (1, "carol"), (2, "")):
            self.change("add_bcc", bccType=kind, name=name, bccTo=watcher)
            self.addCleanup(self.change, "delete_bcc",
                            deleteList=[{"type": kind, "name": name, "bccTo": watcher}])
        folder = os.path.realpath(ETC + "/generated/current")
        for part in ("/postfix/maps", "/amavis", "/policy"):
            self.assertIn("Permission denied", as_carol("/usr/bin/ls", folder + part))
        found = as_carol("/usr/bin/grep", "-rlsF", watcher, "/var/packages", "/etc/postfix")
        self.assertEqual(found, "")
        mine = ("/usr/sbin/postqueue", "-c", harness.POSTFIX_CONFIGURATION, "-p")
        self.assertIn("mail system is down", as_carol("/usr/bin/mailq"))
        self.assertIn("not allowed", as_carol(*mine))
        for command in (("/usr/bin/mailq",), mine):
            self.assertIn("queue is empty", run(*command))

        as_carol("/bin/sh", "-c", "echo 'Subject: of carol' | /usr/sbin/sendmail alice")
        delivered("alice", "of carol")
        delivered("bob", "of carol")
        self.assertIn(" to=<%s>, " % watcher, contents("/var/log/mailvane/maillog"))


@contextlib.contextmanager
def of_a_first_installation():
    """While it lasts, logins are not taken on the port of other servers."""
    stored = contents(ETC + "/mailvane.conf")
    for text in (stored + 'smtp_port_logins="no"\n', stored):
        write(ETC + "/mailvane.conf", text)
        run(harness.TARGET + "/bin/hald_set_config", "apply")
        if text != stored:
            yield


def speaking(version, ciphers="ALL"):
    """TLS of one version alone."""
    context = harness.unverified()
    context.set_ciphers(ciphers + ":@SECLEVEL=0")
    context.minimum_version = context.maximum_version = version
    return context


class Logins(harness.Story):
    @staticmethod
    def offered(port, version=ssl.TLSVersion.TLSv1_2, *ciphers):
        """Whether a login is offered after STARTTLS; None where that TLS is not spoken."""
        with smtplib.SMTP("127.0.0.1", port, "client.test", harness.PATIENCE) as client:
            try:
                client.starttls(context=speaking(version, *ciphers))
            except OSError:
                return None
            client.ehlo()
            return "auth" in client.esmtp_features

    def test_stay_where_they_were(self):
        self.assertEqual([self.offered(port) for port in (25, 587)], [True, True])

    def test_are_told_to_no_server_without_a_certificate(self):
        self.assertIsNone(self.offered(587, ssl.TLSVersion.TLSv1_2, "aNULL"))

    def test_of_a_first_installation_cross_no_old_tls(self):
        old = ssl.TLSVersion.TLSv1_1
        with of_a_first_installation():
            self.assertEqual([self.offered(port) for port in (25, 587)], [False, True])
            self.assertEqual([self.offered(port, old) for port in (25, 587)], [False, None])
            self.assert_saved(restrict_sender=True)
            self.assert_mail_flows("from a server")
            send(ALICE, [BOB], "of a login", port=587, login="alice")
            delivered("bob", "of a login")
            self.assert_saved(smtp_tls_enabled=False)
            self.assertEqual((self.offered(25), self.offered(25, old)), (True, None))
            send(ALICE, [BOB], "by the only port", login="alice")
            delivered("bob", "by the only port")
            self.assert_saved(smtp_tls_enabled=True, restrict_sender=False)
