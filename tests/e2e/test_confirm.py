"""Changes that are taken back unless somebody confirms them."""
import glob
import hashlib
import json
import os
import shutil
import time

import calls
import harness
import test_document
from harness import ETC, PACKAGE, TARGET, SystemLog, banner, wait_for
from machine import contents, failing, write
from pages import Pages
from test_ctl import ctl
from test_document import AGAIN, DOCUMENT, EMPTY

TOOL = TARGET + "/bin/hald_set_config"
FOLDER = ETC + "/unconfirmed"
NOTE = FOLDER + "/note"
LONG, SHORT = "3600", "10"
SCRIPT = "/home/alice/.mailvane.sieve"

BEFORE = {
    "settings": {"smtp_hostname": "before.test", "smtp_relay_enabled": True,
                 "smtp_relay_server": "relay.test", "smtp_relay_auth": True,
                 "smtp_relay_account": "me", "smtp_relay_password": "hush"},
    "aliases": {"kept": ["alice"], "changed": ["bob"]},
    "copies_of_senders": ["a@far.example carol"],
    "rule_sets": {"one.cf": {"enabled": True, "rules": "body ONE /one/\n"}},
    "personal": {"alice": {"reply": True, "general_reply": {"subject": "one", "message": "one\n"}}},
}
AFTER = {
    "settings": {"smtp_hostname": "after.test", "smtp_relay_password": "", "pop3_enabled": True,
                 "smtp_relay_auth": False, "smtp_relay_account": ""},
    "aliases": {"changed": ["carol"], "new": ["bob"]},
    "access_senders": ["after.example REJECT"],
    "attachments": ["after"],
    "limits": {"bob": 7},
    "report": {"hours": 5},
    "rule_sets": {"one.cf": {"enabled": False, "rules": "body ONE /other/\n"}},
    "personal": {"alice": {"reply": True, "general_reply": {"subject": "two", "message": "two\n"}},
                 "bob": {"reply": True, "general_reply": {"subject": "new", "message": "new\n"}}},
}


def in_force():
    return os.readlink(ETC + "/generated/current")


def digests(*folders):
    """What all files in some folders hold, by their paths; folders too."""
    return {path[len(folder):]: os.path.isfile(path) and hashlib.sha256(
        contents_of(path)).hexdigest() for folder in folders for path in harness.below(folder)}


def contents_of(path):
    with open(path, "rb") as file:
        return file.read()


def stored():
    """All that is stored, what is parked, and what is in force: all that comes back."""
    state = digests(PACKAGE + "/target/etc/alias_bkp", "/home", ETC + "/generated/current/")
    ours = ("personal", "rules", "report.conf", "attachment_types")
    state.update((name, digests(ETC + "/" + name) or os.path.exists(ETC + "/" + name)
                  and contents_of(ETC + "/" + name)) for name in ours)
    state["document"] = ctl("export", "--with-secrets", "--with-personal")[1]
    return {name: value for name, value in state.items()
            if not name.endswith(("svbin", "manifest")) and "/Maildir" not in name}


def forget_parked():
    """Removes the lists of account sources and domains that are not served."""
    for path in glob.glob(TARGET + "/etc/alias_bkp/*"):
        shutil.rmtree(path) if os.path.isdir(path) else os.remove(path)


def waiting():
    return calls.ask("about").json()["unconfirmed"]


def ended():
    return wait_for(lambda: not os.path.exists(FOLDER), "the end of an unconfirmed change")


def waiters():
    found = harness.run("/usr/bin/pgrep", "-f", "hald_set_config take-back", check=False)
    return found.split()


class Confirm(Pages):
    done, write = test_document.Documents.done, test_document.Documents.write
    apply, exported = test_document.Documents.apply, test_document.Documents.exported

    def setUp(self):
        super().setUp()
        self.done("backup", EMPTY)
        self.addCleanup(forget_parked)  # which a restore leaves
        self.addCleanup(ctl, "restore", EMPTY)
        self.addCleanup(ctl, "confirm")
        self.apply(BEFORE, "--prune")
        # Stored, and in force only when it is applied.
        harness.tell("add_access", accessType=0, nameType=0, name="stored@far.example",
                     permission="REJECT")

    def apply_for(self, seconds, document=None):
        return self.apply(document or AFTER, "--confirm", seconds)

    def assert_after(self):
        self.assertTrue(banner().startswith("220 after.test "), banner())
        self.assertTrue(harness.answers(110))

    def refused(self, answer):
        return (answer.status, answer.json(), json.loads(answer.headers["X-Mailvane-Reason"]),
                "Retry-After" in answer.headers)

    def test_it_is_taken_back_as_it_was(self):
        before, log, number = stored(), SystemLog(), in_force()
        told = self.apply_for(SHORT)
        self.assertRegex(told, r"(?m)^taken back at [-\d]+ [\d:]+, unless")
        self.assert_after()
        self.assertIn("two", contents(SCRIPT))
        after = in_force()
        ended()
        self.assertEqual(stored(), before)
        self.assertTrue(banner().startswith("220 before.test "), banner())
        self.assertFalse(harness.answers(110))
        self.assertEqual(len({number, after, in_force()}), 3)
        self.assertRegex("\n".join(log.audit()),
                         r'user "mailvane".* action take_back: done; %s by root' % after)
        # What a document removes is known no more once it stays.
        self.apply_for(LONG)
        self.done("confirm")
        ended()
        self.assertFalse([path for path in glob.glob(ETC + "/generated/*/mailvane.conf")
                          if "hush" in contents(path)])

    def test_every_other_change_is_refused(self):
        page = harness.load()
        self.apply_for(LONG)
        generation = in_force()
        self.assertEqual((waiting()["who"], "gen-%06d" % waiting()["number"]), ("root", generation))
        self.assertLess(abs(waiting()["until"] - time.time() - int(LONG)), harness.PATIENCE)
        wanted = (503, {"success": False, "error": "unconfirmed"},
                  [{"service": "gate", "code": "unconfirmed"}], True)
        actions = [name for (kind, name), one in
                   harness.CONTRACTS["/mailvane.cgi"].operations.items() if "503" in one["responses"]]
        self.assertGreater(len(actions), 40)
        for action in actions:
            if action in ("apply_access_setting", "apply_spam_blackwhite", "fresh_clam",
                          "generate_dkim_key"):
                answer = harness.read(action, headers={"X-Mailvane": "1"})
            else:
                answer = harness.post({"action": action})
            self.assertEqual(self.refused(answer), wanted, action)
        for call, members in (("rollback", {"number": 1}), ("tls_remove", {}),
                              ("own_password", {}), ("user_add", {"name": "dora"})):
            self.assertEqual(self.refused(calls.tell(call, **members)), wanted, call)
        for words in (("restore", EMPTY), ("apply", self.write(BEFORE)), ("rollback",),
                      ("apply", DOCUMENT, "--confirm", LONG),
                      ("edit", "smtp", "smtp_port=2525")):
            status, _, errors = ctl(*words)
            self.assertEqual(status, 1, words)
            self.assertRegex(errors, "%s, a change by root, waits to be confirmed until" % generation)
        for verb in ("apply", "render"):
            self.assertIn("failed", harness.run(TOOL, verb, check=False))
        harness.run(TOOL, "alias")  # of a timer; it has nothing to say
        self.exported(AGAIN)
        self.assertEqual(ctl("diff", DOCUMENT)[0], 1)
        self.assertEqual((in_force(), harness.load()["smtp_hostname"]), (generation, "after.test"))

        self.assertEqual(calls.tell("confirm", number=1).reasons(), [("number", "missing")])
        self.assertIn("stays in force", self.done("confirm"))
        self.assertFalse(os.path.exists(FOLDER))
        for words in (("confirm",), ("confirm", "--undo")):
            status, _, errors = ctl(*words)
            self.assertEqual((status, errors), (1, "mailvanectl: no change waits to be confirmed\n"))
        self.assertEqual(calls.tell("take_back").reasons(), [("number", "missing")])
        wait_for(lambda: not waiters(), "the end of the process that waits")
        self.assert_saved(smtp_hostname=page["smtp_hostname"])

    def test_a_boot_goes_on_waiting_or_takes_back(self):
        before = stored()
        self.apply_for(LONG)
        for pid in waiters():
            os.kill(int(pid), 9)
        note = contents(NOTE)
        write(NOTE, note.replace('boot="', 'boot="another'))
        harness.run(TOOL, "recover")
        self.assertTrue(waiting() and waiters())
        self.assert_after()
        for pid in waiters():
            os.kill(int(pid), 9)
        write(NOTE, contents(NOTE).replace('up="', 'up="-'))
        with failing("postfix"):
            harness.run(TOOL, "recover")
        self.assertTrue(waiting(), "what could not be taken back waits")
        self.assert_after()
        ended()
        self.assertEqual(stored(), before)

    def test_accounts_come_back_with_their_lists(self):
        there = {"settings": {"acc_domain_name": "there.test"}}
        self.apply({**there, "aliases": {"there": ["alice"]}, "copies_of_all": ["bob"]})
        self.apply({"settings": {"acc_domain_name": "mv.test"}})
        before = stored()
        self.apply_for(LONG, {**there, "aliases": {"other": ["bob"]}, "copies_of_all": ["carol"]})
        self.assertIn("taken back", self.done("confirm", "--undo"))
        self.assertEqual(stored(), before)

    def test_a_rollback_waits_too(self):
        self.assert_saved(smtp_hostname="later.test")
        later, log = stored(), SystemLog()
        self.assertIn("unless", self.done("rollback", "--confirm", LONG))
        self.assertTrue(banner().startswith("220 before.test "), banner())
        self.assertEqual(waiting()["who"], "admin")
        self.done("confirm", "--undo")
        self.assertEqual(stored(), later)
        self.assertTrue(banner().startswith("220 later.test "), banner())
        self.assertIn("action take_back: done", "\n".join(log.audit()))
        self.done("rollback", "--confirm", LONG)
        self.done("confirm")
        self.assertTrue(banner().startswith("220 before.test "), banner())

    def test_what_fails_or_changes_nothing_does_not_wait(self):
        with failing("postfix"):
            self.assertEqual(ctl("apply", self.write(AFTER), "--confirm", LONG)[0], 1)
        self.assertFalse(os.path.exists(FOLDER) or waiting())
        self.assertIn("nothing differs", self.apply_for(LONG, BEFORE))
        self.assertFalse(os.path.exists(FOLDER))
        for words in (("--confirm", "9"), ("--confirm", "x"), ("--confirm", "86401"),
                      ("--confirm", LONG, "--dry-run")):
            self.assertEqual(ctl("apply", DOCUMENT, *words)[0], 2, words)
        answer = calls.tell("rollback", number=int(in_force()[4:]), confirm=9)
        self.assertEqual(answer.reasons(), [("confirm", "out_of_range")])
        wait_for(lambda: not waiters(), "the end of the process that waits")
