"""The spam filter stays sharp: rules from a channel, name servers, what people teach it, and the
folder for what it has found."""
import functools
import hashlib
import http.server
import imaplib
import io
import json
import os
import smtplib
import tarfile
import threading

import file_modes
import harness
import nameserver
from harness import DOMAIN, ETC, TARGET, delivered, mails, read, run, tell, wait_for
from machine import contents, write
from test_filtering import SETTINGS
from test_scanner import DEFAULTS, message

BOB = "bob@" + DOMAIN
SENDER = "someone@elsewhere.test"
STRANGER, HOST = "203.0.113.66", "203.0.113.10"  # the second may send for the domains below
JUNK = "Junk"
CTL = TARGET + "/bin/mailvanectl"


def records(version=0):
    """Those of two senders, and of a channel of rules that has this version; 0 is none."""
    return ("local=/example/",
            "txt-record=1.0.4.rules.test,%d" % version,
            "txt-record=mirrors.rules.test,http://127.0.0.1:8000/MIRRORED.BY",
            "txt-record=spf.example,v=spf1 ip4:%s -all" % HOST,
            "txt-record=aside.example,v=spf1 ip4:%s -all" % HOST,
            "txt-record=_dmarc.aside.example,v=DMARC1; p=quarantine")


DNS = nameserver.NameServer(*records())


def set_defaults(**values):
    """Changes lines of the package's defaults, for the next save."""
    lines = [line for line in contents(DEFAULTS).splitlines()
             if line.partition("=")[0] not in values]
    write(DEFAULTS, "\n".join(lines + ["%s=%s" % pair for pair in values.items()]) + "\n")


def apply():
    run(TARGET + "/bin/hald_set_config", "apply")


def setUpModule():
    nameserver.local_network("203.0.113.0/24")
    DNS.start()
    set_defaults(MAILVANE_JUNK_FOLDER="yes", MAILVANE_LEARN_FROM_MOVES="yes")
    tell("save_spam_config", **SETTINGS)


def say(kind, subject, sender=SENDER, source=STRANGER):
    """Code of the server's answer to a message for Bob."""
    mail = message(kind, subject)
    mail.replace_header("From", sender)
    with smtplib.SMTP("127.0.0.1", 25, "client.test", harness.PATIENCE, (source, 0)) as client:
        return harness.smtp_answer(lambda: client.send_message(mail, sender, [BOB]), BOB)[0]


class Channel(harness.Story):
    """Rules come from a channel of the test's own, signed by a key of its own."""

    UPDATE = TARGET + "/scripts/update_rules.sh"
    SERVED, KEYS = "/srv/rules", "/root/channel"
    LIST = ETC + "/local.d/rule_channels"
    GPG = ("/usr/bin/gpg", "--batch", "--quiet", "--homedir", KEYS, "--pinentry-mode", "loopback",
           "--passphrase", "")
    RULES = "body CHANNEL_RULE /\\bxylophone\\b/\nscore CHANNEL_RULE 20\n"

    def setUp(self):
        super().setUp()
        os.makedirs(self.SERVED)
        write(self.SERVED + "/MIRRORED.BY", "http://127.0.0.1:8000/\n")
        server = http.server.ThreadingHTTPServer(("127.0.0.1", 8000), functools.partial(
            http.server.SimpleHTTPRequestHandler, directory=self.SERVED))
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)

        os.makedirs(self.KEYS, 0o700)
        self.addCleanup(run, "/usr/bin/gpgconf", "--homedir", self.KEYS, "--kill", "gpg-agent")
        run(*self.GPG, "--quick-gen-key", "channel@rules.test", "rsa2048", "sign", "1y")
        key = run(*self.GPG, "--list-keys", "--with-colons").partition("\nfpr:")[2].split(":")[8]
        write(self.LIST, "# ours\nrules.test %s\n" % key)
        write(self.LIST + ".asc", run(*self.GPG, "--armor", "--export"))

    def publish(self, version, rules):
        """Puts a version of the channel's rules where the filter asks for it."""
        packed = io.BytesIO()
        with tarfile.open(fileobj=packed, mode="w:gz") as archive:
            entry = tarfile.TarInfo("rules.cf")
            entry.size = len(rules)
            archive.addfile(entry, io.BytesIO(rules.encode()))
        path = "%s/%d.tar.gz" % (self.SERVED, version)
        with open(path, "wb") as file:
            file.write(packed.getvalue())
        for kind in ("sha256", "sha512"):
            checksum = hashlib.new(kind, packed.getvalue()).hexdigest()
            write(path + "." + kind, "%s  %d.tar.gz\n" % (checksum, version))
        run(*self.GPG, "--armor", "--output", path + ".asc", "--detach-sign", path)
        DNS.restart(*records(version))

    def check(self):
        rows = read("mailvane_check").json()["settings"]
        return {row["key"]: row["status"] for row in rows}["spam_rules"]

    def test_new_rules_are_tried_and_in_force_at_once(self):
        self.assertEqual((self.check(), say("clean", "a xylophone")), ("WARNING", 250))
        self.publish(1, self.RULES)
        scanner = harness.pid_of("/run/MailScanner.pid")
        self.assertEqual(run(self.UPDATE), "update_rules.sh: new ones are in force\n")
        self.assertEqual(self.check(), "OK")
        wait_for(lambda: say("clean", "a xylophone") == 554, "the new rule")
        self.assertEqual(say("spam", "spam"), 554, "the distribution's rules stay")

        self.publish(2, "body BROKEN /(/\n")
        self.assertIn("update_rules.sh: ", run(self.UPDATE, check=False))
        self.publish(3, self.RULES.replace("20", "1"))
        write(self.SERVED + "/3.tar.gz.asc", contents(self.SERVED + "/1.tar.gz.asc"))
        self.assertIn("GPG", run(self.UPDATE), "another's signature")
        DNS.stop()
        self.addCleanup(DNS.start)
        self.assertIn("update_rules.sh: ", run(self.UPDATE), "without a network it ends well")
        self.assertEqual(say("clean", "a xylophone"), 554, "what was in force stays so")
        self.assertEqual(harness.pid_of("/run/MailScanner.pid"), scanner)


class NameServers(harness.Story):
    def asked(self, subject):
        self.assertEqual(say("clean", subject, "x@spf.example"), 250)
        return "SPF_FAIL" in delivered("bob", subject)

    def test_are_asked_where_the_package_says_so(self):
        self.assertFalse(self.asked("nobody is asked"))
        set_defaults(MAILVANE_SPAM_NETWORK="yes")
        apply()
        self.addCleanup(apply)
        self.addCleanup(set_defaults, MAILVANE_SPAM_NETWORK="no")
        self.assertTrue(self.asked("somebody is asked"))


class Teaching(harness.Story):
    def tearDown(self):
        run(CTL, "spam", "reset", "--yes")

    def learned(self):
        """How many messages the filter knows as spam, and as good ones."""
        state = json.loads(run(CTL, "spam", "status", "--json"))
        return state["spam"], state["ham"]

    def move(self, subject, source, target):
        with imaplib.IMAP4("127.0.0.1", timeout=harness.PATIENCE) as client:
            client.starttls(harness.unverified())
            client.login("bob", "pw-bob")
            client.select(source)
            number = client.search(None, "SUBJECT", '"%s"' % subject)[1][0].decode()
            client._simple_command("MOVE", number, target)

    def test_by_hand(self):
        for name, kind in (("one", "spam"), ("two", "clean")):
            write("/root/%s.eml" % name, message(kind, name).as_string())
        run(CTL, "spam", "learn", "spam", "/root/one.eml")
        run(CTL, "spam", "learn", "ham", "/root/two.eml")
        self.assertEqual(self.learned(), (1, 1))
        run(CTL, "spam", "forget", "/root/one.eml")
        self.assertEqual(self.learned(), (0, 1))
        self.assertIn("It does not count", run(CTL, "spam", "status"))
        run(CTL, "spam", "reset", "--yes")
        self.assertEqual(self.learned(), (0, 0))

    def test_by_moving_a_message_into_junk_and_out_of_it(self):
        self.assertEqual(say("clean", "to be moved"), 250)
        delivered("bob", "to be moved")
        self.move("to be moved", "INBOX", JUNK)
        wait_for(lambda: self.learned() == (1, 0), "it is spam")
        self.move("to be moved", JUNK, "INBOX")
        wait_for(lambda: self.learned() == (0, 1), "it is not")


class JunkFolder(harness.Story):
    def setUp(self):
        super().setUp()
        tell("save_spam_config", **{**SETTINGS, "spam_action": "tag"})

    def lands(self, subject):
        """The folders in which spam is found."""
        self.assertEqual(say("spam", subject), 250)
        return wait_for(lambda: [folder for folder in ("INBOX", JUNK, "own")
                                 if mails("bob", subject, folder=folder)], subject)

    def test_tagged_mail_goes_there_unless_the_user_or_pop3_has_it_elsewhere(self):
        self.assertEqual(say("clean", "good"), 250)
        delivered("bob", "good")
        script = "/home/bob/.dovecot.sieve"
        self.addCleanup(os.unlink, script)
        write(script, 'require ["fileinto", "mailbox"];\n'
                      'if header :contains "Subject" "mine" { fileinto :create "own"; }\n')
        self.assertEqual(self.lands("mine"), ["own"])
        self.assertEqual(self.lands("tagged"), [JUNK])
        self.addCleanup(tell, "save_imap_pop3", pop3_enabled=False)
        tell("save_imap_pop3", pop3_enabled=True)
        self.assertEqual(self.lands("with pop3"), ["INBOX"])

    def test_what_a_policy_wants_set_aside_is_tagged_too(self):
        self.addCleanup(tell, "save_security", spam_dnsbl_enable=False, enable_dmarc=False)
        tell("save_security", spam_dnsbl_enable=False, enable_dmarc=True)
        sender = "x@aside.example"
        self.assertEqual(say("clean", "forged", sender), 250)
        text = delivered("bob", "forged", JUNK)
        self.assertIn("X-Spam-Flag: YES", text)
        self.assertIn("DMARC_QUARANTINE", text)
        self.assertEqual(say("clean", "genuine", sender, HOST), 250)
        delivered("bob", "genuine")
        self.addCleanup(tell, "save_spam_config", **SETTINGS)
        tell("save_spam_config", spam_enable=False)
        self.assertEqual(say("clean", "without the filter", sender), 250)
        delivered("bob", "without the filter", JUNK)


tearDownModule = file_modes.check
