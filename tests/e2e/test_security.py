"""The security page and the DKIM keys: what is stored is what runs, and what leaves is signed."""
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
from machine import in_place_of
from relay_host import RelayHost

ALICE = "alice@" + DOMAIN
BOB = "bob@" + DOMAIN
FAR = "someone@far.example"
KEYS = ETC + "/dkim.key"
OPENSSL = "/usr/bin/openssl"

OWN, OTHER = "203.0.113.10", "203.0.113.66"  # the address of the domains below, and another
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


tearDownModule = file_modes.check
