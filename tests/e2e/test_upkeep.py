"""The day-to-day tools of mailvanectl: what they do to real mail, keys and daemons."""
import hashlib
import imaplib
import json
import os
import pwd
import shutil
import smtplib
import ssl

import dkim
import harness
import nameserver
from harness import (DOMAIN, ETC, SystemLog, command, control, delivered, read, run, send, tell,
                     wait_for)
from machine import failing
from pages import Pages
from relay_host import RelayHost
from test_ctl import CTL, ctl
from test_scanner import message

OPENSSL = "/usr/bin/openssl"


class Upkeep(Pages):
    def done(self, *words):
        status, output, errors = ctl(*words)
        self.assertEqual((status, errors), (0, ""), output)
        return output

    def told(self, *words):
        return json.loads(self.done(*words, "--json"))

    def refused(self, *words, status=1):
        """A command that says why it changes nothing; what it says."""
        before = harness.snapshot(ETC)
        *answer, errors = ctl(*words)
        self.assertEqual(answer, [status, ""])
        self.assertEqual(harness.snapshot(ETC), before)
        return errors


class Mail(Upkeep):
    def test_the_queue(self):
        log = SystemLog()
        control("dovecot", "stop")
        send("someone@elsewhere.test", ["bob@" + DOMAIN], "held back")
        wait_for(lambda: any(one["recipients"][0]["reason"] for one in self.told("queue", "list")),
                 "a reason")
        waiting = self.told("queue", "list")[0]
        self.assertIn("bob@" + DOMAIN, waiting["recipients"][0]["address"])
        self.assertIn("dovecot-lmtp", self.done("queue", "list"))
        self.done("queue", "hold", waiting["id"])
        control("dovecot", "start")
        self.done("queue", "flush")
        self.assertEqual([one["queue"] for one in self.told("queue", "list")], ["hold"])
        self.assertNotEqual(ctl("queue", "delete", "ABCDEF0123")[0], 0)
        self.done("queue", "release", waiting["id"])
        delivered("bob", "held back")

        control("dovecot", "stop")
        send("someone@elsewhere.test", ["bob@" + DOMAIN], "deleted")
        self.refused("queue", "delete", "all", status=2)
        wait_for(lambda: self.told("queue", "list"), "the message")
        self.done("queue", "delete", "all", "--yes")
        self.assertEqual(self.told("queue", "list"), [])
        control("dovecot", "start")
        self.assertIn("action queue_hold: done; to change: " + waiting["id"],
                      "\n".join(log.audit()))

    def test_the_quarantine(self):
        tell("save_spam_config", spam_enable=True, spam_action="quarantine", spam_reject_score=12)
        self.addCleanup(tell, "save_spam_config", spam_enable=False)
        with smtplib.SMTP("127.0.0.1", 25, "client.test", harness.PATIENCE) as client:
            client.send_message(message("spam", "kept aside"))
        kept = wait_for(lambda: self.told("quarantine", "list"), "the quarantine")[0]
        self.assertEqual((kept["subject"], kept["recipients"]), ("kept aside", ["bob@" + DOMAIN]))
        self.assertIn("XJS*C4JDBQADN1", self.done("quarantine", "show", kept["id"]))
        os.symlink("/etc/shadow", "/var/lib/mailvane/quarantine/spam-link")
        for name in ("../../../etc/shadow", "spam-link", "spam-none.gz", ""):
            for verb in ("show", "release", "delete"):
                self.assertNotEqual(ctl("quarantine", verb, name)[0], 0)
        os.unlink("/var/lib/mailvane/quarantine/spam-link")
        self.done("quarantine", "release", kept["id"])
        delivered("bob", "kept aside")
        self.done("quarantine", "delete", kept["id"])
        self.assertEqual(self.told("quarantine", "list"), [])


class Rollback(Upkeep):
    def test_over_a_save_that_opened_a_port(self):
        before = harness.settings()
        self.done("edit", "imap_pop3", "imaps_enabled=yes", "imap_port=1143")
        self.done("add_domain", "domain=rolled.example.test")
        self.addCleanup(ctl, "delete_domain", 'domainList={"domain":"rolled.example.test"}')
        kept = self.told("generations")
        self.assertEqual((kept[-1]["settings"], kept[-1]["in_force"]), (["domains"], True))
        self.assertEqual(kept[-2]["settings"], ["imap_port", "imaps_enabled"])
        self.done("rollback", str(kept[-3]["number"]))
        self.assertEqual(harness.settings(), before)
        self.assertEqual([harness.answers(port) for port in (143, 993, 1143)],
                         [True, False, False])
        self.assertNotIn("rolled", str(read("enum_domain").json()))
        self.assert_mail_flows("after the rollback")
        self.refused("rollback", "99999")

    def test_over_a_change_of_the_accounts(self):
        tell("apply_alias_info", aliasname="mine",
             member=[{"name": "alice", "type": 0, "is_join": True}])
        tell("add_bcc", bccType=2, bccTo="carol@" + DOMAIN)
        self.addCleanup(tell, "delete_bcc", deleteList=[{"type": 2, "name": "", "bccTo": "carol"}])
        self.addCleanup(tell, "alias_del", alias=["mine"])
        pages = ("alias_enum&limit=50", "load_bcc")
        before = [read(page).json() for page in pages]
        self.done("edit", "smtp", "acc_domain_name=elsewhere.example.test")
        self.assertNotEqual([read(page).json() for page in pages], before)
        self.done("rollback")
        self.assertEqual([read(page).json() for page in pages], before)
        self.assertEqual(harness.settings()["always_bcc"], "carol@" + DOMAIN)
        send("someone@elsewhere.test", ["mine@" + DOMAIN], "rolled back")
        delivered("alice", "rolled back")
        delivered("carol", "rolled back")


def make_certificate(name, host):
    """Files of a certificate and its key."""
    paths = ["/root/%s.%s" % (name, kind) for kind in ("cert", "key")]
    run(OPENSSL, "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
        "-nodes", "-days", "30", "-subj", "/CN=" + host, "-addext", "subjectAltName=DNS:" + host,
        "-out", paths[0], "-keyout", paths[1])
    return paths


def shown():
    """Fingerprint of the certificate that the mailboxes show."""
    data = ssl.PEM_cert_to_DER_cert(ssl.get_server_certificate(("127.0.0.1", 993)))
    return hashlib.sha256(data).digest().hex(":").upper()


class Certificates(Upkeep):
    def test_installed_refused_and_removed(self):
        self.done("edit", "imap_pop3", "imaps_enabled=yes")
        self_signed = shown()
        self.assertEqual(self.told("tls", "show")["fingerprint"], self_signed)
        good, other = make_certificate("good", DOMAIN), make_certificate("other", "far.example")
        for words, why in (((good[0], other[1]), "not that of the certificate"),
                           ((good[1], good[1]), "cannot be read")):
            with self.subTest(why):
                self.assertIn(why, self.refused("tls", "install", *words))
                self.assertEqual(shown(), self_signed)
        self.done("tls", "install", *good)
        installed = self.told("tls", "show")["fingerprint"]
        self.assertEqual([shown(), self.told("tls", "show")["names"]], [installed, DOMAIN])
        self.assertNotEqual(installed, self_signed)
        self.assertEqual(os.stat(ETC + "/tls/key.pem").st_mode & 0o777, 0o600)
        with failing("dovecot"):
            self.assertEqual(ctl("tls", "install", *other)[0], 1)
        self.assertEqual(shown(), installed)
        status, _, told = ctl("tls", "install", *other)
        self.assertEqual((status, "not for " + DOMAIN in told), (0, True))
        self.assertNotEqual(shown(), installed)
        self.done("tls", "remove")
        self.assertEqual(shown(), self_signed)


class Keys(Upkeep):
    def test_an_earlier_pair_signs_again_and_is_published(self):
        relay = self.enterContext(RelayHost(2525))
        tell("save_relay", smtp_relay_enabled=True, smtp_relay_server="127.0.0.1",
             smtp_relay_port=2525, smtp_relay_tls=False)
        old = command("generate_dkim_key")["dkim_public_key"]
        self.done("edit", "security", "enable_dkim=yes")
        self.addCleanup(ctl, "edit", "security", "enable_dkim=no")
        first = [pair["date"] for pair in self.told("dkim", "list") if pair["signs"]]
        new = command("generate_dkim_key")["dkim_public_key"]
        self.done("edit", "security", "enable_dkim=yes")
        self.refused("dkim", "restore", "20200101T000000Z")
        self.done("dkim", "restore", *first)
        self.assertEqual([pair["date"] for pair in self.told("dkim", "list") if pair["signs"]],
                         first)
        send("alice@" + DOMAIN, ["someone@far.example"], "signed", 587, "alice")
        mail = wait_for(lambda: relay.has("signed"), "the mail")[1].encode()
        holds = [dkim.verify(mail, dnsfunc=lambda name, timeout=5, key=key:
                             b"v=DKIM1; k=rsa; p=" + key.encode()) for key in (old, new)]
        self.assertEqual(holds, [True, False])
        zone = self.done("dns")
        self.assertIn("%s. IN MX 10 mv.test.\n" % DOMAIN, zone)
        self.assertLessEqual(max(len(part) for part in zone.split('"')[1::2]), 255)
        texts = [one["value"] for one in self.told("dns") if one["use"] == "DKIM"]
        self.assertEqual([value.partition("p=")[2] for value in texts], [old])
        parts = ",".join(old[start:start + 200] for start in range(0, len(old), 200))
        server = nameserver.NameServer(
            "mx-host=%s,mv.test,10" % DOMAIN, "txt-record=%s,v=spf1 mx -all" % DOMAIN,
            "txt-record=mail._domainkey.%s,v=DKIM1; k=rsa; p=,%s" % (DOMAIN, parts))
        server.start()
        self.addCleanup(server.stop)
        status, output, _ = ctl("dns", "--check", "--json")
        states = [one["state"] for one in json.loads(output) if not one["optional"]]
        self.assertEqual((status, states), (1, ["published"] * 3 + ["missing"]))


def mail_program(access, password, subject):
    """Sends a user a mail of its own and fetches it by what the user was told; the connection."""
    outgoing, incoming = access["outgoing"][0], access["incoming"][0]
    with smtplib.SMTP(outgoing["server"], outgoing["port"], timeout=20) as client:
        client.starttls(context=harness.unverified())
        client.login(access["login"], password)
        client.sendmail(access["address"], [access["address"]],
                        "From: %s\nSubject: %s\n\nHello\n" % (access["address"], subject))
    client = imaplib.IMAP4_SSL(incoming["server"], incoming["port"], timeout=20,
                               ssl_context=harness.unverified())
    client.login(access["login"], password)

    def found():
        client.select("INBOX")
        return client.search(None, "SUBJECT", subject)[1][0]

    wait_for(found, "the mail " + subject)
    return client


class Users(Upkeep):
    def setUp(self):
        super().setUp()
        self.done("edit", "imap_pop3", "imaps_enabled=yes")

    def add(self, name, password):
        status, output, errors = ctl("user", "add", name, "--json", typed=password + "\n")
        self.assertEqual((status, errors), (0, ""))
        return json.loads(output)

    def test_from_the_first_mail_to_the_last(self):
        log = SystemLog()
        access = self.add("dora", "the first one")
        account = pwd.getpwnam("dora")
        self.assertEqual((os.stat(account.pw_dir).st_mode & 0o777, account.pw_shell),
                         (0o700, "/usr/sbin/nologin"))
        self.assertEqual([(one["protocol"], one["port"], one["encryption"], one["answers"])
                          for one in access["incoming"] + access["outgoing"]],
                         [("IMAP", 993, "SSL/TLS", True), ("IMAP", 143, "STARTTLS", True),
                          ("SMTP", 587, "STARTTLS", True)])
        mail_program(access, "the first one", "one").logout()
        self.assertEqual(ctl("user", "password", "dora", typed="the second one\n")[0], 0)
        self.assertRaises(smtplib.SMTPAuthenticationError, mail_program, access,
                          "the first one", "refused")
        connected = mail_program(access, "the second one", "two")
        tell("save_personal", user="dora", forward_enable=True, forward_addr="x@far.example",
             keep_copy=True, reply_enable=False, subject="", message="")
        tell("apply_alias_info", aliasname="music",
             member=[{"name": "dora", "type": 0, "is_join": True}])

        for words in (["--yes"], ["--keep-mailbox"], ["--keep-mailbox", "--delete-mailbox"]):
            self.refused("user", "remove", "dora", *words, status=2)
        status, output, errors = ctl("user", "remove", "dora", "--keep-mailbox", "--yes")
        self.assertEqual((status, "stays in /home/dora" in output), (0, True))
        self.assertIn("dora is still a member of the alias music", errors)
        self.assertRaises(imaplib.IMAP4.error, connected.noop)
        connected.shutdown()
        self.assertRaises(KeyError, pwd.getpwnam, "dora")
        self.assertFalse(os.path.exists(ETC + "/personal/dora.json"))
        self.assertTrue(os.listdir("/home/dora/Maildir/cur"))
        kept = os.stat("/home/dora")
        self.assertEqual((kept.st_uid, kept.st_mode & 0o777), (0, 0o700))
        audit = "\n".join(log.audit())
        self.assertIn("action user_remove: done; to change: dora", audit)
        self.assertNotIn("the first one", audit)

        # Who comes later does not get that mail.
        self.done("alias_del", "alias=music")
        self.assertEqual(ctl("user", "add", "dora", typed="the third one\n")[0], 1)
        shutil.rmtree("/home/dora")
        self.add("dora", "the third one")
        self.done("user", "remove", "dora", "--delete-mailbox", "--yes")
        self.assertFalse(os.path.exists("/home/dora"))

    def test_what_is_refused(self):
        for words, why in ((["add", "bob"], "already"), (["password", "root"], "no mail user"),
                           (["remove", "admin", "--yes", "--keep-mailbox"], "administrator")):
            with self.subTest(words):
                status, output, errors = ctl("user", *words, typed="long enough\n")
                self.assertEqual((status, output), (1, ""))
                self.assertIn(why, errors)
        for password in ("", "short\n", "with a \t tab in it\n"):
            self.assertEqual(ctl("user", "add", "dora", typed=password)[0], 2)
        self.assertLessEqual({"alice", "bob", "admin"},
                             {user["name"] for user in self.told("user", "list")})


class WhoMay(Upkeep):
    def test_root_alone(self):
        as_bob = ["/usr/bin/setpriv", "--reuid=bob", "--clear-groups", CTL]
        for words in (["queue", "list"], ["quarantine", "list"], ["backup", "/tmp/x"],
                      ["restore", "/tmp/x"], ["rollback"], ["tls", "show"], ["dkim", "list"], ["user", "list"],
                      ["check"]):
            self.assertEqual(ctl(*words, command=as_bob),
                             (2, "", "mailvanectl: only root can do this\n"))
            self.assertIn(words[0], self.done("help", words[0]))
