"""The security page and the DKIM keys: what leaves is signed, what is forged is refused."""
import collections
import concurrent.futures
import contextlib
import email.utils
import os
import signal
import smtplib
import subprocess
import threading

import dkim
import file_modes
import harness
import nameserver
from harness import DOMAIN, ETC, command, control, pid_of, post, read, run, settings
from machine import contents, in_place_of, write
from relay_host import RelayHost

ALICE = "alice@" + DOMAIN
BOB = "bob@" + DOMAIN
FAR = "someone@far.example"
KEYS = ETC + "/dkim.key"
OPENSSL = "/usr/bin/openssl"

OWN, OTHER = "203.0.113.10", "203.0.113.66"  # the address of the domains below, and another
DEFAULTS = "/etc/default/mailvane"
FOREIGN_KEY = "/etc/foreign-key.pem"
SWITCHES = ("enable_spf_check", "reject_spf_soft_fail", "enable_dkim", "enable_dmarc",
            "reject_sasl_sender_rate_exceed", "spam_dnsbl_enable", "anti_virus_enable",
            "spam_enable", "enable_dangerous_content_scan")


def one_line(pem):
    return "".join(pem.strip().splitlines()[1:-1])


def make_name_server():
    """Domains of others: what they publish, and a key that signs for one of them."""
    run(OPENSSL, "genrsa", "-out", FOREIGN_KEY, "2048")
    public = one_line(run(OPENSSL, "pkey", "-in", FOREIGN_KEY, "-pubout"))
    return nameserver.NameServer(
        "local=/example/",
        "txt-record=strict.example,v=spf1 ip4:%s -all" % OWN,
        "txt-record=_dmarc.strict.example,v=DMARC1; p=reject; adkim=r; aspf=r",
        "txt-record=mail._domainkey.strict.example,v=DKIM1; k=rsa; p=%s,%s" % (public[:200],
                                                                                public[200:]),
        "txt-record=mail._domainkey.evil.example,v=DKIM1; k=rsa; p=%s,%s" % (public[:200],
                                                                              public[200:]),
        "txt-record=_dmarc.lax.example,v=DMARC1; p=none",
        "txt-record=%s,v=spf1 ip4:%s -all" % (DOMAIN, OWN),
        "txt-record=hard.example,v=spf1 ip4:%s -all" % OWN,
        "txt-record=soft.example,v=spf1 ip4:%s ~all" % OWN)


def setUpModule():
    global DNS
    nameserver.local_network("203.0.113.0/24")
    DNS = make_name_server()
    DNS.start()


def security(**changes):
    """What save_security answers to the stored page with some changes."""
    page = read("load_security").json()
    body = {name: page[name] for name in SWITCHES + ("smtpd_sasl_sender_rate_limit",)}
    return post({"action": "save_security", **body, **changes}).json()


def signature_holds(mail, key):
    return dkim.verify(mail, dnsfunc=lambda name, timeout=5: b"v=DKIM1; k=rsa; p=" + key.encode())


def text_of(sender, subject, extra=""):
    text = "%sFrom: %s\nTo: %s\nSubject: %s\nDate: %s\n\nA message.\n"
    date = email.utils.formatdate()
    return (text % (extra, sender, BOB, subject, date)).replace("\n", "\r\n").encode()


def text_below(head, subject):
    """A mail with these lines before its subject."""
    return (head + "Subject: %s\n\nA message.\n" % subject).replace("\n", "\r\n").encode()


def come_in(envelope, subject, source, text=None):
    """Brings a mail for Bob from an address of the world outside; the server's answer."""
    with smtplib.SMTP("127.0.0.1", 25, "client.example", harness.PATIENCE, (source, 0)) as client:
        mail = text or text_of(envelope, subject)
        return harness.smtp_answer(lambda: client.sendmail(envelope, [BOB], mail), BOB)


def runs(service):
    """Number of the running daemon, or 0."""
    try:
        pid = pid_of("/run/mailvane/%s.pid" % service)
        return pid if service in os.readlink("/proc/%d/exe" % pid) else 0
    except (FileNotFoundError, ValueError):
        return 0


class SavedInPart(harness.Story):
    """What a page leaves out stays as it is stored, and what that asks for runs."""

    SERVICES = {"enable_dkim": "opendkim", "enable_dmarc": "opendmarc",
                "reject_sasl_sender_rate_exceed": "memcached", "spam_enable": "mailscanner"}

    def setUp(self):
        super().setUp()
        self.addCleanup(security, **dict.fromkeys(SWITCHES, False))

    def save(self, value):
        """Saves the page with these switches, or without them."""
        switches = {} if value is None else dict.fromkeys(self.SERVICES, value)
        self.change("save_security", spam_dnsbl_enable=False, **switches)

    def test_services_run_as_it_is_stored(self):
        for stored, sent in ((False, None), (False, True), (True, None), (True, False)):
            self.save(stored)
            self.save(sent)
            wanted = "yes" if (stored if sent is None else sent) else "no"
            for switch, service in self.SERVICES.items():
                with self.subTest(switch=switch, stored=stored, sent=sent):
                    self.assertEqual(settings()[switch], wanted)
                    self.assertEqual(control(service, "status"), 0)
            self.assert_mail_flows("stored %s, sent %s" % (stored, sent))

    def test_mail_that_comes_while_filters_are_switched_off_is_taken(self):
        self.save(True)
        answers, ended = collections.Counter(), threading.Event()

        def come():
            while not ended.is_set():
                with contextlib.suppress(OSError):  # the mail server starts anew
                    answers[come_in("someone@elsewhere.test", "switching", OWN)[0]] += 1

        with concurrent.futures.ThreadPoolExecutor(1) as pool:
            coming = pool.submit(come)
            try:
                harness.wait_for(lambda: answers[250], "mail before")
                self.save(False)
                before = answers[250]
                harness.wait_for(lambda: answers[250] > before, "mail after")
            finally:
                ended.set()
            coming.result()
        del answers[250]
        # What the scanner or a filter has in hand when it ends comes again.
        self.assertLessEqual(answers.pop(451, 0), 2)
        self.assertLessEqual(set(answers), {421})  # said by a server that ends

    def test_what_died_is_started_by_the_next_save(self):
        self.change("save_security", enable_dkim=True)
        for service, pid_file in (("opendkim", "/run/mailvane/opendkim.pid"),
                                  ("dovecot", "/run/dovecot/master.pid")):
            os.kill(pid_of(pid_file), signal.SIGKILL)
            harness.wait_for(lambda: control(service, "status") != 0, "the end of " + service)
            self.change("save_relay", smtp_relay_enabled=False)
            self.assertEqual(control(service, "status"), 0)
        self.assert_mail_flows("after their deaths")


class Security(harness.Story):
    def setUp(self):
        super().setUp()
        self.addCleanup(self.secure, **dict.fromkeys(SWITCHES, False))

    def secure(self, **changes):
        """Saves the page; the answer."""
        answer = security(**changes)
        self.assertIs(answer["success"], True, answer)
        return answer


class Signing(Security):
    """Mail that leaves goes through a relay host, which keeps it."""

    def setUp(self):
        super().setUp()
        self.relay = self.enterContext(RelayHost(2525))
        self.change("save_relay", smtp_relay_enabled=True, smtp_relay_server="127.0.0.1",
                    smtp_relay_port=2525, smtp_relay_tls=False)
        self.addCleanup(self.change, "save_relay", smtp_relay_enabled=False)

    def left(self, subject):
        return harness.wait_for(lambda: self.relay.has(subject), "mail " + subject)[1].encode()

    def send_out(self, subject, sender=ALICE):
        """Submits a mail with a login; its bytes as they left."""
        harness.send(sender, [FAR], subject, 587, "alice")
        return self.left(subject)

    def test_the_first_switch_on_makes_the_keys(self):
        run("/bin/sh", "-c", "rm -rf %s/*" % KEYS)
        key = self.secure(enable_dkim=True)["dkim_public_key"]
        self.assertEqual(read("load_security").json()["dkim_public_key"], key)
        file_modes.check()

        mail = self.send_out("signed by login")
        self.assertTrue(signature_holds(mail, key))
        self.assertFalse(signature_holds(mail.replace(b"A message", b"Another"), key))
        self.assertIn(b"d=mv.test; s=mail", mail)
        subprocess.run(["/usr/sbin/sendmail", "-f", ALICE, FAR], check=True,
                       input=text_of(ALICE, "signed at home").replace(b"\r", b""))
        self.assertTrue(signature_holds(self.left("signed at home"), key))

        daemon = runs("opendkim")
        self.assertNotIn("dkim_public_key", self.secure())
        self.assertEqual(runs("opendkim"), daemon, "nothing changed, yet it was restarted")

    def test_nothing_is_signed_for_strangers_and_while_it_is_off(self):
        self.secure(enable_dkim=True)
        self.assertEqual(come_in(ALICE, "from outside", OTHER)[0], 250)
        self.assertNotIn("DKIM-Signature", harness.delivered("bob", "from outside"))
        self.secure(enable_dkim=False)
        self.assertEqual(runs("opendkim"), 0)
        self.assertNotIn(b"DKIM-Signature", self.send_out("unsigned"))

    def test_domains_that_come_and_go(self):
        self.secure(enable_dkim=True)
        key = read("load_security").json()["dkim_public_key"]
        self.change("add_domain", domain="second.test")
        mail = self.send_out("of a second domain", "alice@second.test")
        self.assertIn(b"d=second.test", mail)
        self.assertTrue(signature_holds(mail, key))
        self.change("delete_domain", domainList=[{"domain": "second.test"}])
        self.assertNotIn(b"DKIM-Signature", self.send_out("of no domain", "alice@second.test"))

    def test_a_new_pair_is_in_force_at_once_and_the_old_one_is_kept(self):
        self.secure(enable_dkim=True)
        old = read("load_security").json()["dkim_public_key"]
        pairs = len(os.listdir(KEYS))
        new = command("generate_dkim_key")["dkim_public_key"]
        self.assertNotEqual(new, old)
        self.assertEqual(len(os.listdir(KEYS)), pairs + 1)
        text = run(OPENSSL, "pkey", "-in", KEYS + "/dkim.private", "-noout", "-text")
        self.assertIn("1024 bit", text)
        mail = self.send_out("signed anew")
        self.assertTrue(signature_holds(mail, new))
        self.assertFalse(signature_holds(mail, old))

    def test_without_its_signer_mail_waits_instead_of_leaving_unsigned(self):
        self.secure(enable_dkim=True)
        self.assertEqual(control("opendkim", "stop"), 0)
        with self.assertRaises(smtplib.SMTPException) as refusal:
            harness.send(ALICE, [FAR], "without signer", 587, "alice")
        self.assertEqual(refusal.exception.smtp_code // 10, 45, refusal.exception)
        self.assertEqual(control("opendkim", "start"), 0)
        self.send_out("with signer again")

    def test_a_signer_that_refuses_its_file_leaves_the_old_settings(self):
        with in_place_of("/usr/sbin/opendkim", '[ "$1" != -n ] || exit 0\nexit 70\n'):
            self.assert_system_error(security(enable_dkim=True))
            self.assertEqual(settings()["enable_dkim"], "no")
            self.assertNotIn(b"DKIM-Signature", self.send_out("still unsigned"))


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
    """Mail that comes in."""

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
