"""The spam filter stays sharp: rules from a channel, name servers, what people teach it, and the
folder for what it has found."""
import contextlib
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
from harness import DOMAIN, ETC, TARGET, read, run, tell, wait_for
from machine import contents, write
from test_filtering import SETTINGS
from test_scanner import DEFAULTS, message

BOB = "bob@" + DOMAIN
HOST = "203.0.113.10"  # the one that may send for the domains below
UPDATE = TARGET + "/scripts/update_rules.sh"
CTL = TARGET + "/bin/mailvanectl"
CHANNEL, CHANNEL_KEYS = ETC + "/local.d/rule_channels", ETC + "/local.d/rule_channels.asc"
SERVED = "/srv/rules"
KEYS = "/root/channel"
GPG = ("/usr/bin/gpg", "--batch", "--quiet", "--homedir", KEYS, "--pinentry-mode", "loopback",
       "--passphrase", "")
RULES = "body CHANNEL_RULE /\\bxylophone\\b/\nscore CHANNEL_RULE 20\n"
JUNK = "Junk"


class NameServer(nameserver.NameServer):
    """Says which version of its rules the channel has; 0: there is none."""

    def start(self, version=0):
        self.__init__("local=/example/", "txt-record=1.0.4.rules.test,%d" % version,
                      "txt-record=mirrors.rules.test,http://127.0.0.1:8000/MIRRORED.BY",
                      "txt-record=spf.example,v=spf1 ip4:%s -all" % HOST,
                      "txt-record=aside.example,v=spf1 ip4:%s -all" % HOST,
                      "txt-record=_dmarc.aside.example,v=DMARC1; p=quarantine")
        super().start()


DNS = NameServer()


def setUpModule():
    nameserver.local_network("203.0.113.0/24")
    DNS.start()
    tell("save_spam_config", **SETTINGS)


def settings(**values):
    """Lines of the package's defaults, taken up."""
    lines = [line for line in contents(DEFAULTS).splitlines()
             if line.partition("=")[0] not in values]
    write(DEFAULTS, "\n".join(lines + ["%s=%s" % pair for pair in values.items()]) + "\n")
    run(TARGET + "/bin/hald_set_config", "apply")


def say(kind, sender, subject=None, source="203.0.113.66", **header):
    """Code of the server's answer to a message, with other texts in some of its header."""
    mail = message(kind, subject)
    for name, value in header.items():
        mail.replace_header(name, value)
    with smtplib.SMTP("127.0.0.1", 25, "client.test", harness.PATIENCE, (source, 0)) as client:
        return harness.smtp_answer(lambda: client.send_message(mail, sender, [BOB]), BOB)[0]


@contextlib.contextmanager
def mailbox(folder):
    """A session of Bob's in a folder."""
    with imaplib.IMAP4("127.0.0.1", timeout=harness.PATIENCE) as client:
        client.starttls(harness.unverified())
        client.login("bob", "pw-bob")
        if client.select(folder)[0] != "OK":
            raise AssertionError("there is no folder " + folder)
        yield client


def in_folder(folder, subject):
    """Texts of the mails with a subject in one of Bob's folders."""
    with mailbox(folder) as client:
        found = client.search(None, "SUBJECT", '"%s"' % subject)[1][0].split()
        return [client.fetch(number, "(RFC822)")[1][0][1].decode() for number in found]


def learned():
    return json.loads(run(CTL, "spam", "status", "--json"))


class Handler(http.server.SimpleHTTPRequestHandler):
    def log_message(self, *_):
        pass


class Channel(harness.Story):
    """Rules come from a channel of the test's own, signed by a key of its own."""

    def setUp(self):
        super().setUp()
        os.makedirs(SERVED, exist_ok=True)
        os.makedirs(KEYS, 0o700)
        self.addCleanup(run, "/usr/bin/gpgconf", "--homedir", KEYS, "--kill", "gpg-agent")
        server = http.server.ThreadingHTTPServer(
            ("127.0.0.1", 8000), functools.partial(Handler, directory=SERVED))
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        run(*GPG, "--quick-gen-key", "channel@rules.test", "rsa2048", "sign", "1y")
        write(CHANNEL_KEYS, run(*GPG, "--armor", "--export"))
        key = run(*GPG, "--list-keys", "--with-colons").partition("\nfpr:")[2].split(":")[8]
        write(CHANNEL, "# ours\nrules.test %s\n" % key)
        write(SERVED + "/MIRRORED.BY", "http://127.0.0.1:8000/\n")

    def publish(self, version, rules, signed=True):
        """Puts a version of the channel's rules where the filter asks for it."""
        packed = io.BytesIO()
        with tarfile.open(fileobj=packed, mode="w:gz") as archive:
            entry = tarfile.TarInfo("rules.cf")
            entry.size = len(rules)
            archive.addfile(entry, io.BytesIO(rules.encode()))
        path = "%s/%d.tar.gz" % (SERVED, version)
        with open(path, "wb") as file:
            file.write(packed.getvalue())
        for kind in ("sha256", "sha512"):
            write(path + "." + kind, "%s  %d.tar.gz\n" % (
                hashlib.new(kind, packed.getvalue()).hexdigest(), version))
        run(*GPG, "--yes", "--armor", "--output", path + ".asc", "--detach-sign", path)
        DNS.stop()
        DNS.start(version)

    @staticmethod
    def check():
        rows = read("mailvane_check").json()["settings"]
        return {row["key"]: row["status"] for row in rows}["spam_rules"]

    def test_new_rules_are_tried_and_in_force_at_once(self):
        self.assertEqual((self.check(), say("clean", "x@y.test", "a xylophone")), ("WARNING", 250))
        self.publish(1, RULES)
        scanner = harness.pid_of("/run/MailScanner.pid")
        self.assertEqual(run(UPDATE), "update_rules.sh: new ones are in force\n")
        self.assertEqual(self.check(), "OK")
        wait_for(lambda: say("clean", "x@y.test", "a xylophone") == 554, "the new rule")
        self.assertEqual(say("spam", "x@y.test"), 554, "the distribution's rules stay")
        self.publish(2, "body BROKEN /(/\n")
        self.assertIn("update_rules.sh: ", run(UPDATE, check=False))
        self.publish(3, RULES.replace("20", "1"))
        write(SERVED + "/3.tar.gz.asc", contents(SERVED + "/1.tar.gz.asc"))
        self.assertIn("GPG", run(UPDATE), "another's signature")
        self.assertEqual(say("clean", "x@y.test", "a xylophone"), 554, "what was in force stays so")
        self.assertEqual(harness.pid_of("/run/MailScanner.pid"), scanner)

        DNS.stop()
        self.addCleanup(DNS.start)
        self.assertIn("update_rules.sh: ", run(UPDATE), "without a network it ends well")


class NameServers(harness.Story):
    def test_are_asked_where_the_package_says_so(self):
        self.addCleanup(settings, MAILVANE_SPAM_NETWORK="no")
        for word, asked in (("no", False), ("yes", True)):
            settings(MAILVANE_SPAM_NETWORK=word)
            self.assertEqual(say("clean", "x@spf.example", "asked " + word), 250)
            self.assertEqual("SPF_FAIL" in harness.delivered("bob", "asked " + word), asked)


class Teaching(harness.Story):
    def tearDown(self):
        run(CTL, "spam", "reset", "--yes")

    def counts(self):
        state = learned()
        return state["spam"], state["ham"]

    def test_by_hand(self):
        for name, kind in (("one", "spam"), ("two", "clean")):
            write("/root/%s.eml" % name, message(kind, name).as_string())
        run(CTL, "spam", "learn", "spam", "/root/one.eml")
        run(CTL, "spam", "learn", "ham", "/root/two.eml")
        self.assertEqual(self.counts(), (1, 1))
        run(CTL, "spam", "forget", "/root/one.eml")
        self.assertEqual(self.counts(), (0, 1))
        self.assertIn("It does not count", run(CTL, "spam", "status"))
        run(CTL, "spam", "reset", "--yes")
        self.assertEqual(self.counts(), (0, 0))

    def test_by_moving_a_message_into_junk_and_out_of_it(self):
        settings(MAILVANE_LEARN_FROM_MOVES="yes")
        self.addCleanup(settings, MAILVANE_LEARN_FROM_MOVES="no")
        self.assertEqual(say("clean", "x@y.test", "to be moved"), 250)
        harness.delivered("bob", "to be moved")
        with mailbox("INBOX") as client:
            number = client.search(None, "SUBJECT", '"to be moved"')[1][0].split()[0].decode()
            client._simple_command("MOVE", number, JUNK)
        wait_for(lambda: self.counts() == (1, 0), "it is spam")
        with mailbox(JUNK) as client:
            client._simple_command("MOVE", "1", "INBOX")
        wait_for(lambda: self.counts() == (0, 1), "it is not")
        file_modes.check()


class JunkFolder(harness.Story):
    def setUp(self):
        super().setUp()
        settings(MAILVANE_JUNK_FOLDER="yes")
        self.addCleanup(settings, MAILVANE_JUNK_FOLDER="no")
        tell("save_spam_config", **{**SETTINGS, "spam_action": "tag"})
        self.addCleanup(tell, "save_spam_config", **SETTINGS)

    def lands(self, subject):
        """The folder in which spam ends up."""
        self.assertEqual(say("spam", "x@y.test", subject), 250)
        return wait_for(lambda: [folder for folder in ("INBOX", JUNK, "own")
                                 if in_folder(folder, subject)], subject)

    def test_tagged_mail_goes_there_unless_the_user_or_pop3_has_it_elsewhere(self):
        with mailbox("INBOX") as client:
            client.create("own")
        self.assertEqual(self.lands("tagged"), [JUNK])
        self.assertEqual(say("clean", "x@y.test", "good"), 250)
        self.assertNotIn("X-Spam-Flag: YES", harness.delivered("bob", "good"))
        script = "/home/bob/.dovecot.sieve"
        self.addCleanup(os.unlink, script)
        write(script, 'require "fileinto";\nfileinto "own";\n')
        self.assertEqual(self.lands("by a script"), ["own"])
        write(script, "keep;\n")
        tell("save_imap_pop3", pop3_enabled=True)
        self.addCleanup(tell, "save_imap_pop3", pop3_enabled=False)
        self.assertEqual(self.lands("with pop3"), ["INBOX"])

    def test_what_a_policy_wants_set_aside_is_tagged_too(self):
        page = read("load_security").json()
        self.addCleanup(tell, "save_security", **page)
        tell("save_security", **{**page, "enable_dmarc": True})
        who = {"From": "x@aside.example"}
        self.assertEqual(say("clean", "x@aside.example", "forged", **who), 250)
        text = wait_for(lambda: in_folder(JUNK, "forged"), "the forged mail")[0]
        self.assertIn("X-Spam-Flag: YES", text)
        self.assertIn("DMARC_QUARANTINE", text)
        self.assertEqual(say("clean", "x@aside.example", "genuine", source=HOST, **who), 250)
        harness.delivered("bob", "genuine")


tearDownModule = file_modes.check
