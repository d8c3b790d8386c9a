"""Backup and restore: a state goes into an archive, everything is changed, and it comes back."""
import contextlib
import os
import random
import signal
import subprocess
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../tools"))

import harness
from harness import (DOMAIN, ETC, TARGET, SystemLog, command, delivered, read, run, send, snapshot,
                     tell, wait_for)
from machine import failing
from mailvane.ctl import archive
from test_ctl import CTL, ctl
from test_filtering import ZEBRA, bring_in
from test_upkeep import Upkeep

LOADS = ("load_smtp", "load_imap_pop3", "load_relay", "load_security", "enum_domain", "enum_dnsb",
         "alias_enum&limit=50", "load_access", "load_bcc", "load_sender_quota",
         "load_attachment_filter", "load_spam_config", "load_adv_anti_spam", "load_spam_rules",
         "load_spam_blackwhite", "load_personal&user=alice", "load_report")
INITIAL, ARCHIVE, OTHER = "/root/initial.tar", "/root/first.tar", "/root/other.tar"
STORED = ("alias.db", "mailvane.db", "attachment_types", "rules", "dkim.key", "tls", "personal",
          "report.conf", "htpasswd", "local.d")
SCRIPT = "/home/alice/.mailvane.sieve"


class Archives(Upkeep):
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
        command("generate_dkim_key")
        self.done("edit", "report", "enable_report=no", "report_sender_name=" + tag)
        self.done("edit", "smtp", "smtp_hostname=%s.example.test" % tag)
        self.done("edit", "relay", "smtp_relay_account=" + tag)
        tell("save_spam_config", spam_subject_tag=tag)

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
        tell("alias_del", alias=["first"])
        tell("delete_rules", deleteList=[{"ruleName": "first.cf"}])
        os.unlink(ETC + "/attachment_types")
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

    def test_a_list_that_is_lost_comes_back_alone(self):
        tell("apply_alias_info", aliasname="kept",
             member=[{"name": "bob", "type": 0, "is_join": True}])
        self.done("backup", OTHER)
        tell("set_sender_quota", sasl_sender="carol", quota=7)
        with open(ETC + "/alias.db", "r+b") as file:
            file.write(b"x" * 4096)
        self.assertFalse(read("alias_enum").json()["success"])
        self.done("repair", "--from", OTHER)
        self.assertIn("kept", str(read("alias_enum&limit=50").json()["items"]))
        self.assertIn("carol", str(read("load_sender_quota").json()))
        tell("alias_del", alias=["kept"])

    def modes(self):
        """Owners and modes of what is stored."""
        return {path: (info.st_mode, info.st_uid, info.st_gid) for path, info in (
            (path, os.lstat(path)) for path in snapshot(ETC)
            if path.split("/")[5] in STORED)}

    def refused_archives(self):
        with open(ARCHIVE, "rb") as file:
            good = file.read()
        place = good.index(b"first.example.test")
        with open("/root/bad.tar", "wb") as file:
            file.write(good[:place] + b"worse" + good[place + 5:])
        self.refused("restore", "/root/bad.tar")

    def altered(self, name, data):
        """An archive that is not what was backed up, with a manifest that says it is."""
        state = archive.read(INITIAL)
        state.files[name] = data
        archive.write("/root/altered.tar", state)
        return "/root/altered.tar"

    def refused_restore(self, path, why, *options):
        before = snapshot(ETC)
        status, _, errors = ctl("restore", path, *options)
        self.assertEqual((status, snapshot(ETC)), (1, before))
        self.assertIn(why, errors)

    def test_an_archive_brings_nothing_that_runs(self):
        self.done("backup", INITIAL)
        self.addCleanup(self.done, "restore", INITIAL, "--with-local")
        self.refused_restore(self.altered("rules.cf", b"loadplugin Mine /root/mine.pm\n"),
                             "is no rule")
        self.refused_restore(self.altered("htpasswd", b"eve:secret\n"), "line 1 of the web logins")
        fragment, text = "local.d/zz.dovecot.conf", "service mine {\n  user = root\n}\n"
        path = self.altered(fragment, text.encode())
        self.assertRegex(self.done("restore", path), "local.d, left out: .*zz.dovecot.conf")
        self.assertFalse(os.path.exists(os.path.join(ETC, fragment)))
        path = self.altered(fragment, b"# what it would do\n")
        self.assertIn("# what it would do", self.done("restore", path, "--with-local"))
        self.assertTrue(os.path.exists(os.path.join(ETC, fragment)))

    def test_an_archive_can_be_signed(self):
        for name in ("mine", "other"):
            run("/usr/bin/openssl", "genpkey", "-algorithm", "ed25519", "-out", "/root/" + name)
            run("/usr/bin/openssl", "pkey", "-in", "/root/" + name, "-pubout", "-out",
                "/root/%s.pub" % name)
        self.done("backup", INITIAL)
        self.done("backup", ARCHIVE, "--sign", "/root/mine")
        self.refused("backup", OTHER, "--sign", "/root/mine.pub")
        with open(ARCHIVE, "rb") as good, open("/root/altered.tar", "wb") as bad:
            bad.write(good.read().replace(b'"made": 1', b'"made": 2', 1))
        option = "--require-signature"
        for path, key in ((INITIAL, "mine.pub"), (ARCHIVE, "other.pub"), (ARCHIVE, "none"),
                          (ARCHIVE, ""), ("/root/altered.tar", "mine.pub")):
            self.refused_restore(path, "key in", option, key and "/root/" + key)
        self.assertIn(", signed by", self.done("restore", ARCHIVE, option, "/root/mine.pub"))
        self.assertIn("signature not checked", self.done("restore", ARCHIVE))

    def killed(self, states):
        """Kills restores at some moments: what is then in force is one of the two states."""
        current = ARCHIVE
        for moment in ("begun", "committed", "any"):
            wanted = OTHER if current == ARCHIVE else ARCHIVE
            before = os.readlink(ETC + "/generated/current")
            process = subprocess.Popen([CTL, "restore", wanted], stdin=subprocess.DEVNULL,
                                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            search = "/usr/bin/pgrep", "-P", str(process.pid)
            tool = int(wait_for(lambda: run(*search, check=False), "the settings tool").split()[0])
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
