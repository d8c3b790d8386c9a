"""What the security page has the server make of mail that comes in: what is forged is refused."""
import os
import smtplib
import subprocess

import dkim
import file_modes
import harness
from harness import DOMAIN, command, control, read, run
from machine import contents, write
from test_security import (ALICE, BOB, FOREIGN_KEY, OTHER, OWN, Security, come_in, runs, setUpModule,
                           text_of)

DEFAULTS = "/etc/default/mailvane"


def text_below(head, subject):
    """A mail with these lines before its subject."""
    return (head + "Subject: %s\n\nA message.\n" % subject).replace("\n", "\r\n").encode()


def forged(count, lead="Authentication-Results: %s" % DOMAIN, end="; "):
    """A header with results that this server never found, the last of them a pass."""
    results = ["dkim=fail header.d=x%d.example" % number for number in range(1, count)]
    results += ["dkim=pass header.d=strict.example"] if count else ["none"]
    return end.join([lead] + results) + "\n"


FORGED = [("%d results" % count, forged(count)) for count in (0, 15, 16, 17, 18, 21, 200)] + [
    ("folded", forged(17, end=";\n\t")),
    ("folded before its value", forged(17, "Authentication-Results:\n %s" % DOMAIN)),
    ("upper case", forged(17, "AUTHENTICATION-RESULTS: %s" % DOMAIN.upper())),
    ("a blank before the colon", forged(17, "Authentication-Results \t: %s" % DOMAIN)),
    ("a comment", forged(17, "Authentication-Results: (a (nested) one;) %s (b) 1" % DOMAIN)),
    ("quotes", forged(17, 'Authentication-Results: "%s"' % DOMAIN)),
    ("another server", forged(21, "Authentication-Results: else.example")),
    ("bytes that are no text", forged(17, "Authentication-Results: (\xff\xc3) %s" % DOMAIN)),
    ("many headers", forged(15) * 40)]


class Checking(Security):
    def test_spf(self):
        rows = (("hard", {"enable_spf_check": False}, OTHER, 250),
                ("hard", {"enable_spf_check": True}, OWN, 250),
                ("hard", {}, OTHER, 550),
                ("soft", {}, OTHER, 250),
                ("nothing", {}, OTHER, 250),
                ("soft", {"reject_spf_soft_fail": True}, OTHER, 550),
                ("soft", {}, OWN, 250))
        for domain, changes, source, want in rows:
            with self.subTest(domain, changes=changes, source=source):
                self.secure(**changes)
                code, words = come_in("x@%s.example" % domain, "by SPF", source)
                self.assertEqual(code, want, words)
                if code == 550:
                    self.assertIn("5.7.23", words)

    def test_own_addresses_of_strangers(self):
        stored = contents(DEFAULTS)
        self.addCleanup(run, harness.TARGET + "/bin/hald_set_config", "apply")
        self.addCleanup(write, DEFAULTS, stored)
        self.change("add_domain", domain="no-spf.test")
        self.addCleanup(self.change, "delete_domain", domainList=[{"domain": "no-spf.test"}])
        host = "203.0.113.77"
        self.change("add_access", permission="OK", name=host, accessType=2, nameType=3)
        self.addCleanup(command, "apply_access_setting")
        self.addCleanup(self.change, "delete_access",
                        deleteList=[{"type": 2, "nameType": 3, "name": host}])
        command("apply_access_setting")
        strange = ("ceo@" + DOMAIN, "CEO@MV.test", "ceo", "ceo@no-spf.test")
        rows = ([(sender, OTHER, 550) for sender in strange] +
                [("ceo@" + DOMAIN, source, 250) for source in (OWN, "127.0.0.1", host)] +
                [("x@else.example", OTHER, 250), ("", OTHER, 250)])
        for sender, source, _ in rows:
            self.assertEqual(come_in(sender, "open", source, text_of(ALICE, "open"))[0], 250)
        write(DEFAULTS, stored.replace("OWN_SENDERS=open", "OWN_SENDERS=proven"))
        run(harness.TARGET + "/bin/hald_set_config", "apply")
        for sender, source, want in rows:
            with self.subTest(sender, source=source):
                code, words = come_in(sender, "proven", source, text_of(ALICE, "proven"))
                self.assertEqual(code, want, words)
        harness.send(ALICE, [BOB], "proven by a login", 587, "alice")
        subprocess.run(["/usr/sbin/sendmail", "-f", ALICE, BOB], check=True,
                       input=text_of(ALICE, "proven by a uid").replace(b"\r", b""))
        for subject in ("proven by a login", "proven by a uid"):
            harness.delivered("bob", subject)

    def test_dmarc_refuses_a_spoof_and_nothing_else(self):
        self.secure(enable_dmarc=True)
        boss = "boss@strict.example"
        with open(FOREIGN_KEY, "rb") as file:
            key = file.read()
        honest = text_of(boss, "signed by its domain")
        signature = dkim.sign(honest, b"mail", b"strict.example", key)
        lies = ("Authentication-Results: %s; dkim=pass header.d=strict.example;\n"
                " spf=pass smtp.mailfrom=strict.example\n"
                "Received-SPF: pass (ok) receiver=%s; client-ip=%s;\n"
                " envelope-from=\"boss@strict.example\"\n" % (DOMAIN, DOMAIN, OTHER))
        rows = (("its own address", boss, OWN, text_of(boss, "own"), 250),
                ("its signature", "x@else.example", OTHER, signature + honest, 250),
                ("a broken signature", boss, OTHER,
                 signature + honest.replace(b"A message", b"Another"), 550),
                ("neither", boss, OTHER, text_of(boss, "spoof"), 550),
                ("another envelope", "x@else.example", OTHER, text_of(boss, "spoof"), 550),
                ("forged results", boss, OTHER, text_of(boss, "spoof", lies), 550),
                ("a policy of none", "x@lax.example", OTHER, text_of("x@lax.example", "lax"), 250),
                ("no policy", "x@else.example", OTHER, text_of("x@else.example", "else"), 250),
                ("this machine, without a key", ALICE, "127.0.0.1", text_of(ALICE, "own"), 250))
        for name, envelope, source, text, want in rows:
            with self.subTest(name):
                code, words = come_in(envelope, name, source, text)
                self.assertEqual(code, want, words)
                if code == 550:
                    self.assertIn("rejected by DMARC policy for strict.example", words)
        self.secure(enable_dmarc=False)
        self.assertEqual((runs("opendmarc"), runs("opendkim")), (0, 0))
        self.assertEqual(come_in(boss, "spoof", OTHER)[0], 250)

    def test_results_that_a_stranger_wrote_are_read_by_nobody(self):
        self.secure(enable_dmarc=True)
        for name, lies in FORGED:
            with self.subTest(name):
                boss = "boss@strict.example"
                lies = lies.encode("latin-1").replace(b"\n", b"\r\n")
                answer = come_in(boss, name, OTHER, lies + text_of(boss, "spoof"))
                self.assertEqual(answer[0], 550, answer)
                self.assertIn("rejected by DMARC policy for strict.example", answer[1])
                self.assertEqual(come_in(boss, name, OWN, lies + text_of(boss, name))[0], 250)
                self.assertNotIn("x1.example", harness.delivered("bob", name).lower())

    def test_a_signature_speaks_for_its_own_domain_alone(self):
        self.secure(enable_dmarc=True)
        with open(FOREIGN_KEY, "rb") as file:
            key = file.read()
        spoof = text_of("boss@strict.example", "signed by another")
        rows = (("x=20header.d=3Dstrict.example=20header.i=3D@evil.example", "evil.example", 550),
                ("x=3B=20dkim=3Dpass=20header.d=3Dstrict.example=20header.i=3D@evil.example",
                 "evil.example", 550),
                ("x(c)header.d=3Dstrict.example(c)header.i=3D@evil.example", "evil.example", 550),
                ("someone@strict.example", "strict.example", 250))
        for identity, domain, want in rows:
            with self.subTest(identity):
                signature = dkim.sign(spoof, b"mail", domain.encode(), key,
                                      identity=identity.encode())
                self.assertEqual(come_in("x@else.example", "", OTHER, signature + spoof)[0], want)

    def test_results_elsewhere_stay(self):
        lies = forged(2)
        mail = text_of(ALICE, "with results", lies)
        with smtplib.SMTP("127.0.0.1", 587, "client.test", 30) as client:
            client.starttls(context=harness.unverified())
            client.login("alice", "pw-alice")
            client.sendmail(ALICE, [BOB], mail)
        subprocess.run(["/usr/sbin/sendmail", "-f", ALICE, BOB], check=True,
                       input=text_of(ALICE, "of a program", lies).replace(b"\r", b""))
        forwarded = text_of(ALICE, "attached", "MIME-Version: 1.0\nContent-Type: message/rfc822\n")
        self.assertEqual(come_in(ALICE, "attached", OTHER,
                                 forwarded.replace(b"A message.", mail))[0], 250)
        for subject in ("with results", "of a program", "attached"):
            self.assertIn(lies.strip(), harness.delivered("bob", subject), subject)

    def test_a_stranger_has_to_name_one_domain_as_the_author(self):
        self.secure(enable_dmarc=True)
        boss, other = "boss@strict.example", "x@else.example"
        unclear = ("", "From: %s\nfrom : %s\n" % (other, boss), "From: %s,\n %s\n" % (other, boss))
        for head in unclear:
            with self.subTest(head[:80]):
                code, words = come_in(other, "unclear", OTHER, text_below(head, "unclear"))
                self.assertEqual(code, 550, words)
                self.assertIn("exactly one From field", words)
        clear = (boss, "Boss: the\n\tone (of (all)) <%s>" % boss)
        for value in clear:
            with self.subTest(value):
                mail = text_below("From: %s\n" % value, "clear")
                code, words = come_in(boss, "clear", OTHER, mail)
                self.assertEqual(code, 550, words)
                self.assertIn("rejected by DMARC policy for strict.example", words)
                self.assertEqual(come_in(boss, "clear", OWN, mail), (250, "taken"))

    def test_mail_that_breaks_other_rules_of_headers_is_taken(self):
        self.secure(enable_dmarc=True)
        author = "From: boss@strict.example\n"
        twice = [(name, 2 * ("%s: <a@b.example>\n" % name)) for name in
                 ("Date", "To", "Cc", "Bcc", "Reply-To", "Message-Id", "In-Reply-To", "References")]
        for name, head in [("no Date", "")] + twice:
            mail = text_below(author + head, name)
            self.assertEqual(come_in("boss@strict.example", name, OWN, mail), (250, "taken"), name)
            harness.delivered("bob", name)
        chain = "ARC-Authentication-Results: i"
        for name, head in (("two Subjects", "Subject: first\n"), ("a broken chain", chain + "\n"),
                           ("a long chain", chain + "=1; %s; none\n" % ("a" * 600))):
            mail = text_below(author + head, name)
            self.assertEqual(come_in("boss@strict.example", name, OWN, mail), (250, "taken"), name)

    def test_authors_are_nobodys_business_but_of_strangers_and_dmarc(self):
        self.secure(enable_dmarc=True)
        mail = text_below("", "no author")
        for source, port, login in (("127.0.0.1", 25, None), (OTHER, 25, "alice"),
                                    (OTHER, 587, "alice")):
            with self.subTest(port, login=login), \
                    smtplib.SMTP("127.0.0.1", port, "client.example", 30, (source, 0)) as client:
                if login:
                    client.starttls(context=harness.unverified())
                    client.login(login, "pw-" + login)
                client.sendmail(ALICE, [BOB], mail)
        self.secure(enable_dmarc=False)
        self.assertEqual(come_in("x@else.example", "", OTHER, mail), (250, "taken"))

    def test_the_verifier_stays_while_the_dmarc_checker_needs_it(self):
        self.secure(enable_dkim=True, enable_dmarc=True, reject_sasl_sender_rate_exceed=True)
        file_modes.check()  # with all doors of the filters there
        self.secure(enable_dkim=False)
        self.assertTrue(runs("opendkim") and runs("opendmarc"))
        self.assertEqual(come_in("boss@strict.example", "spoof", OTHER)[0], 550)

    def test_a_message_waits_when_a_filter_dies_of_it_or_is_away(self):
        self.secure(enable_dmarc=True)
        spoof = text_of("boss@strict.example", "spoof")
        for service in ("opendkim", "opendmarc"):
            with self.subTest(service):
                with smtplib.SMTP("127.0.0.1", 25, "client.example", 30, (OTHER, 0)) as client:
                    client.ehlo()
                    client.mail("boss@strict.example")
                    client.rcpt(BOB)
                    client.docmd("DATA")
                    os.kill(int(run("/usr/bin/pgrep", "-P", str(runs(service)))), 9)
                    client.send(spoof + b".\r\n")
                    self.assertEqual(client.getreply()[0], 451)
                harness.wait_for(lambda: self.spoof_answer() == 550, "the filters")
        self.assertEqual(self.filter_words(), ["WARNING", "WARNING"])
        for service in ("opendkim", "opendmarc"):
            self.assertEqual(control(service, "stop"), 0)
            self.assertEqual(self.spoof_answer(), 451)
            self.assertEqual(control(service, "start"), 0)
        self.assertEqual(self.filter_words(), ["OK", "OK"])

    @staticmethod
    def spoof_answer():
        return come_in("boss@strict.example", "spoof", OTHER)[0]

    @staticmethod
    def filter_words():
        found = {row["key"]: row["status"] for row in read("mailvane_check").json()["settings"]}
        return [found["opendkim"], found["opendmarc"]]


tearDownModule = file_modes.check
