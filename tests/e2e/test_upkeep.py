"""The day-to-day tools of mailvanectl: what they do to real mail, keys and daemons."""
import hashlib
import json
import os
import smtplib
import ssl

import dkim
import harness
import nameserver
from harness import (DOMAIN, ETC, SystemLog, command, control, delivered, read, run, send, tell,
                     wait_for)
from pages import Pages
from relay_host import RelayHost
from test_ctl import CTL, ctl
from test_scanner import message
from test_transaction import failing

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
        self.assertIn('root", address console, action queue hold: done; to change: ' +
                      waiting["id"], "\n".join(log.audit()))

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
        states = [one["state"] for one in json.loads(output)]
        self.assertEqual((status, states), (1, ["published"] * 3 + ["missing"]))


class WhoMay(Upkeep):
    def test_root_alone(self):
        as_bob = ["/usr/bin/setpriv", "--reuid=bob", "--clear-groups", CTL]
        for words in (["queue", "list"], ["quarantine", "list"], ["backup", "/tmp/x"],
                      ["restore", "/tmp/x"], ["rollback"], ["tls", "show"], ["dkim", "list"]):
            self.assertEqual(ctl(*words, command=as_bob),
                             (2, "", "mailvanectl: only root can do this\n"))
            self.assertIn(words[0], self.done("help", words[0]))
