"""The day-to-day tools of mailvanectl: what they do to real mail, keys and daemons."""
import contextlib
import json
import os
import random
import signal
import ssl
import subprocess
import unittest

import dkim
import harness
import nameserver
from harness import DOMAIN, ETC, TARGET, SystemLog, control, delivered, read, run, send, settings
from harness import snapshot, wait_for
from pages import Pages
from relay_host import RelayHost
from test_ctl import CTL, ctl
from test_filtering import ZEBRA, bring_in, tell
from test_scanner import message
from test_transaction import failing

OPENSSL = "/usr/bin/openssl"
LOADS = ("load_smtp", "load_imap_pop3", "load_relay", "load_security", "enum_domain", "enum_dnsb",
         "alias_enum&limit=50", "load_access", "load_bcc", "load_sender_quota",
         "load_attachment_filter", "load_spam_config", "load_adv_anti_spam", "load_spam_rules",
         "load_spam_blackwhite", "load_personal&user=alice", "load_report")
INITIAL, ARCHIVE, OTHER = "/root/initial.tar", "/root/first.tar", "/root/other.tar"
STORED = ("alias.db", "mailvane.db", "attachment_types", "rules", "dkim.key", "tls", "personal",
          "report.conf", "htpasswd", "local.d")
SCRIPT = "/home/alice/.mailvane.sieve"


class Upkeep(Pages):
    def done(self, *words):
        status, output, errors = ctl(*words)
        self.assertEqual((status, errors), (0, ""), output)
        return output

    def told(self, *words):
        return json.loads(self.done(*words, "--json"))

    def refused(self, *words, status=1):
        """A command that says why it changes nothing; what it says."""
        before = snapshot(ETC)
        self.assertEqual(ctl(*words)[:2], (status, ""))
        self.assertEqual(snapshot(ETC), before)
        return ctl(*words)[2]


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
        for name in ("../../etc", "-d", "ALL", "ABCDEF0123"):
            self.assertNotEqual(ctl("queue", "delete", name)[0], 0)
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
        with harness.smtplib.SMTP("127.0.0.1", 25, "client.test", 60) as client:
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


class Archives(Upkeep):
    """A state goes into an archive, everything is changed, and it comes back."""

    def fill(self, tag):
        """Gives every page something of its own."""
        tell("add_domain", domain=tag + ".example.test")
        tell("add_dnsb", server=tag + ".bl.example", type="rbl_client")
        tell("apply_alias_info", aliasname=tag,
             member=[{"name": "alice", "type": 0, "is_join": True}])
        tell("add_access", accessType=0, nameType=0, name=tag + "@far.example", permission="REJECT")
        tell("add_bcc", bccType=0, name={"first": "alice", "other": "bob"}[tag], bccTo="carol")
        tell("set_sender_quota", sasl_sender="bob", quota=len(tag))
        tell("set_attachment_filter", add_list=[tag], modified_list=[])
        tell("add_spam_blackwhite_list", blackWhite=1, type=0, nameType=0, name=tag + "@b.example")
        tell("save_personal", user="alice", forward_enable=False, forward_addr="",
             keep_copy=True, reply_enable=True, subject=tag, message="away: " + tag)
        read("generate_dkim_key", headers={"X-Mailvane": "1"})
        self.done("edit", "report", "enable_report=no", "report_sender_name=" + tag)
        self.done("edit", "smtp", "smtp_hostname=%s.example.test" % tag)
        self.done("edit", "relay", "smtp_relay_account=" + tag)
        tell("save_spam_config", spam_subject_tag=tag)

    def empty(self):
        """Takes away what the lists hold."""
        tell("add_bcc", bccType=2, bccTo="carol@" + DOMAIN)
        tell("alias_del", alias=["first"])
        tell("delete_rules", deleteList=[{"ruleName": "first.cf"}])
        os.unlink(ETC + "/attachment_types")

    def answers(self):
        return {name: read(name).json() for name in LOADS}

    def test_there_and_back(self):
        self.done("backup", INITIAL)
        self.addCleanup(self.done, "restore", INITIAL)
        self.fill("first")
        bring_in(ZEBRA + "score LOCAL_ZEBRA 20\n", "import_spam_rule", rule_name="first.cf")
        before, modes = self.answers(), self.modes()
        self.done("backup", ARCHIVE)
        self.assertEqual(os.stat(ARCHIVE).st_mode & 0o777, 0o600)
        self.empty()
        self.fill("other")
        self.done("edit", "imap_pop3", "pop3_enabled=yes", "imaps_enabled=yes")
        self.done("edit", "smtp", "acc_domain_name=other.example.test")
        self.done("edit", "security", "enable_dkim=yes", "reject_sasl_sender_rate_exceed=yes")
        changed = self.answers()
        self.assertEqual([name for name in LOADS if changed[name] == before[name]], [])

        self.refused_archives()
        with failing("postfix"):
            self.assertEqual(ctl("restore", ARCHIVE)[0], 1)
        self.assertEqual(self.answers(), changed)
        self.assertTrue(harness.answers(110) and harness.banner().startswith("220 other."))

        self.done("backup", OTHER)
        log = SystemLog()
        self.done("restore", ARCHIVE)
        self.assertIn("action restore: done", "\n".join(log.audit()))
        self.assertEqual(self.answers(), before)
        self.assertEqual(self.modes(), modes)
        self.assertTrue(harness.banner().startswith("220 first.example.test "))
        self.assertEqual((harness.answers(110), harness.answers(993)), (False, False))
        self.assertIn("away: first", run("/bin/cat", SCRIPT))
        send("someone@elsewhere.test", ["first@" + DOMAIN], "to the alias")
        delivered("alice", "to the alias")
        self.killed({ARCHIVE: before, OTHER: changed})

    def modes(self):
        """Owners and modes of what is stored."""
        return {path: (info.st_mode, info.st_uid, info.st_gid) for path, info in (
            (path, os.lstat(path)) for path in snapshot(ETC)
            if path.split("/")[5] in STORED)}

    def refused_archives(self):
        with open(ARCHIVE, "rb") as file:
            good = file.read()
        place = good.index(b"first.example.test")
        for name, bad in (("byte", good[:place] + b"worse" + good[place + 5:]),
                          ("cut", good[:len(good) // 2]), ("none", b"no archive")):
            with open("/root/bad.tar", "wb") as file:
                file.write(bad)
            with self.subTest(name):
                self.refused("restore", "/root/bad.tar")

    def killed(self, states):
        """Kills restores at some moments: what is then in force is one of the two states."""
        current = ARCHIVE
        for moment in ("begun", "committed", "any"):
            wanted = OTHER if current == ARCHIVE else ARCHIVE
            before = os.readlink(ETC + "/generated/current")
            process = subprocess.Popen([CTL, "restore", wanted], stdin=subprocess.DEVNULL,
                                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            tool = wait_for(lambda: children(process.pid), "the settings tool")[0]
            wait_for({"begun": lambda: os.path.exists(ETC + "/exchange/new"),
                      "committed": lambda: os.readlink(ETC + "/generated/current") != before,
                      "any": lambda: random.random() < 0.01}[moment], moment)
            for kill, number in ((os.kill, process.pid), (os.killpg, tool)):
                with contextlib.suppress(ProcessLookupError):
                    kill(number, signal.SIGKILL)
            process.wait()
            run(TARGET + "/bin/hald_set_config", "recover")
            now = self.answers()
            current = next((name for name, state in states.items() if state == now), "")
            self.assertTrue(current, "a mixture")
            self.assertTrue(current == wanted or moment != "committed")
            self.assertFalse(os.path.exists(ETC + "/exchange"))
            reply = "away: " + ("first" if current == ARCHIVE else "other")
            self.assertIn(reply, run("/bin/cat", SCRIPT))
        self.assertEqual(harness.answers(110), current == OTHER)


def children(process):
    """Numbers of the processes that a process has started."""
    try:
        with open("/proc/%d/task/%d/children" % (process, process), encoding="ascii") as file:
            return [int(number) for number in file.read().split()]
    except FileNotFoundError:
        return []


class Rollback(Upkeep):
    def test_over_a_save_that_opened_a_port(self):
        before = settings()
        self.done("edit", "imap_pop3", "imaps_enabled=yes", "imap_port=1143")
        self.done("add_domain", "domain=rolled.example.test")
        self.addCleanup(ctl, "delete_domain", 'domainList={"domain":"rolled.example.test"}')
        kept = self.told("generations")
        self.assertEqual((kept[-1]["settings"], kept[-1]["in_force"]), (["domains"], True))
        self.assertEqual(kept[-2]["settings"], ["imap_port", "imaps_enabled"])
        self.done("rollback", str(kept[-3]["number"]))
        self.assertEqual(settings(), before)
        self.assertEqual([harness.answers(port) for port in (143, 993, 1143)],
                         [True, False, False])
        self.assertNotIn("rolled", str(read("enum_domain").json()))
        self.assert_mail_flows("after the rollback")
        self.done("rollback")  # and that is taken back
        self.assertEqual([harness.answers(port) for port in (143, 993, 1143)],
                         [False, True, True])
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
        other = [read(page).json() for page in pages]
        self.assertNotEqual(other, before)
        self.done("rollback")
        self.assertEqual([read(page).json() for page in pages], before)
        self.assertEqual(settings()["always_bcc"], "carol@" + DOMAIN)
        send("someone@elsewhere.test", ["mine@" + DOMAIN], "rolled back")
        delivered("alice", "rolled back")
        delivered("carol", "rolled back")
        self.done("rollback")
        self.assertEqual([read(page).json() for page in pages], other)


def make_certificate(name, host, days=30):
    """Files of a certificate and its key."""
    paths = ["/root/%s.%s" % (name, kind) for kind in ("cert", "key")]
    run(OPENSSL, "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
        "-nodes", "-days", "30", "-subj", "/CN=" + host, "-addext", "subjectAltName=DNS:" + host,
        "-out", paths[0], "-keyout", paths[1])
    run(OPENSSL, "x509", "-in", paths[0], "-signkey", paths[1], "-days", str(days), "-clrext",
        "-out", paths[0]) if days < 0 else None
    return paths


def shown(port=993):
    """Fingerprint of the certificate that a port shows."""
    pem = ssl.get_server_certificate(("127.0.0.1", port))
    return run("/bin/sh", "-c", 'printf %%s "$1" | %s x509 -noout -fingerprint -sha256' % OPENSSL,
               "sh", pem).strip().partition("=")[2]


class Certificates(Upkeep):
    def test_installed_refused_and_removed(self):
        self.done("edit", "imap_pop3", "imaps_enabled=yes")
        self_signed = shown()
        self.assertEqual(self.told("tls", "show")["fingerprint"], self_signed)
        good, other = make_certificate("good", DOMAIN), make_certificate("other", "far.example")
        for words, why in (((good[0], other[1]), "not that of the certificate"),
                           (make_certificate("old", DOMAIN, -1), "expired"),
                           ((good[1], good[1]), "cannot be read"), (("/none", good[1]), "No such")):
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
        self.shown_by_the_web_server(good, installed)
        self.done("tls", "remove")
        self.assertEqual(shown(), self_signed)


    def shown_by_the_web_server(self, good, installed):
        web = TARGET + "/scripts/web.sh"
        self.addCleanup(run, web, "restart")
        run(web, "restart", env={"MAILVANE_WEB_TLS_PORT": "8443"})
        self.done("tls", "install", *good)
        wait_for(lambda: harness.answers(8443), "the web server")
        self.assertEqual((shown(), shown(8443)), (installed, installed))
        # It cannot serve the network without a certificate: that is refused, and all is as before.
        self.assertEqual(ctl("tls", "remove")[0], 1)
        wait_for(lambda: harness.answers(8443), "the web server")
        self.assertEqual((shown(), shown(8443)), (installed, installed))
        run(web, "restart")


class Keys(Upkeep):
    def test_an_earlier_pair_signs_again_and_is_published(self):
        certificates = ETC + "/generated/current/tls/"
        relay = self.enterContext(RelayHost(2525, ("me", "word"), certificates + "cert.pem",
                                            certificates + "key.pem"))
        relay.offers_tls = False
        tell("save_relay", smtp_relay_enabled=True, smtp_relay_server="127.0.0.1",
             smtp_relay_port=2525, smtp_relay_tls=False, smtp_relay_auth=True,
             smtp_relay_account="me", smtp_relay_password="word")
        old = read("generate_dkim_key", headers={"X-Mailvane": "1"}).json()["dkim_public_key"]
        self.done("edit", "security", "enable_dkim=yes")
        self.addCleanup(ctl, "edit", "security", "enable_dkim=no")
        first = [pair["date"] for pair in self.told("dkim", "list") if pair["signs"]]
        new = read("generate_dkim_key", headers={"X-Mailvane": "1"}).json()["dkim_public_key"]
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
        self.published(old)

    def published(self, key):
        tell("add_domain", domain="second.test")
        self.addCleanup(tell, "delete_domain", domainList=[{"domain": "second.test"}])
        zone = self.done("dns")
        self.assertIn("%s. IN MX 10 mv.test.\n" % DOMAIN, zone)
        self.assertIn("_dmarc.second.test. IN TXT ", zone)
        self.assertLessEqual(max(len(part) for part in zone.split('"')[1::2]), 255)
        texts = {one["name"]: one["value"] for one in self.told("dns") if one["use"] == "DKIM"}
        self.assertEqual({value.partition("p=")[2] for value in texts.values()}, {key})
        parts = [key[start:start + 200] for start in range(0, len(key), 200)]
        server = nameserver.NameServer(
            "mx-host=%s,mv.test,10" % DOMAIN, "txt-record=%s,v=spf1 mx -all" % DOMAIN,
            "txt-record=mail._domainkey.%s,v=DKIM1; k=rsa; p=,%s" % (DOMAIN, ",".join(parts)))
        server.start()
        self.addCleanup(server.stop)
        status, output, _ = ctl("dns", "--check", "--json")
        states = [one["state"] for one in json.loads(output)]
        self.assertEqual((status, states), (1, ["published"] * 3 + ["missing"] * 5))


class WhoMay(Upkeep):
    def test_root_alone(self):
        as_bob = ["/usr/bin/setpriv", "--reuid=bob", "--clear-groups", CTL]
        for words in (["queue", "list"], ["quarantine", "list"], ["backup", "/tmp/x"],
                      ["restore", ARCHIVE], ["generations"], ["rollback"], ["tls", "show"],
                      ["dkim", "list"], ["dns"]):
            self.assertEqual(ctl(*words, command=as_bob),
                             (2, "", "mailvanectl: only root can do this\n"))
            self.assertIn(words[0], self.done("help", words[0]))


if __name__ == "__main__":
    unittest.main()
