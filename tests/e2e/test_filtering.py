"""The pages of the spam filter and the uploads: what they do to real mail."""
import json
import os
import re
import smtplib

import file_modes
import harness
from harness import DOMAIN, ETC, SystemLog, command, delivered, mails, post, read, run, tell
from machine import contents, write
from test_scanner import message

ALICE, BOB, CAROL = (user + "@" + DOMAIN for user in ("alice", "bob", "carol"))
STRANGER = "someone@elsewhere.test"
BLACK, WHITE = 1, 0
SENDER, RECIPIENT, CLIENT = range(3)
ADDRESS, NAME, TREE, IP, NETWORK = range(5)
STAGED, DRAFT = "/tmp/mailvane.import", "/tmp/mailvane.importxxxxxx"
SETTINGS = {"spam_enable": True, "spam_tag_score": 5, "spam_reject_score": 12,
            "spam_subject_tag": "[SPAM]", "spam_action": "reject"}
ZEBRA = "# zebras\nbody LOCAL_ZEBRA /\\bzebra\\b/i\ndescribe LOCAL_ZEBRA A zebra\n"
SPOOLED = "# a comment that makes a file of more than the memory of an upload\n" * 5000


def say(kind, *recipients, sender=STRANGER, source="127.0.0.1", subject=None, author=STRANGER):
    """The last code of the server for a message, whose From field names the author."""
    recipients = recipients or [BOB]
    mail = message(kind, subject)
    mail.replace_header("From", author)
    with smtplib.SMTP("127.0.0.1", 25, "client.test", harness.PATIENCE, (source, 0)) as client:
        return harness.smtp_answer(
            lambda: client.send_message(mail, sender, recipients), recipients[0])[0]


def upload(text, *curl):
    """What the program answers to a file that curl sends as a form does."""
    write("/tmp/to upload", text)
    answer = run("/usr/bin/curl", "-sS", "-u", "admin:pw-admin", "-H", "X-Mailvane: 1", *curl,
                 "-F", "file=@/tmp/to upload", "http://127.0.0.1:8080/mailvane.cgi")
    return json.loads(answer)


def bring_in(text, action, **members):
    """Stages an import and uploads its file."""
    tell(action, **members)
    answer = upload(text)
    if answer != {"success": True}:
        raise AssertionError("upload: %r" % answer)


class Filtering(harness.Story):
    """The filter is on; a setting that is as it was restarts nothing."""

    def setUp(self):
        super().setUp()
        self.configure()
        self.log = SystemLog()

    def configure(self, **changes):
        tell("save_spam_config", **{**SETTINGS, **changes})

    def assert_logged(self, *texts):
        lines = "\n".join(self.log.lines())
        for text in texts:
            self.assertIn(text, lines)


class Rules(Filtering):
    def setUp(self):
        super().setUp()
        self.addCleanup(self.delete)

    def delete(self):
        tell("delete_rules", deleteList=[{"ruleName": name} for name in self.rules()])

    def rules(self):
        answer = read("load_spam_rules").json()
        self.assertEqual(answer["total"], len(answer["items"]))
        return {item["ruleName"]: item["isEnable"] for item in answer["items"]}

    def test_a_rule_file_is_uploaded_switched_exported_and_deleted(self):
        bring_in(ZEBRA + "score LOCAL_ZEBRA 20\n", "import_spam_rule", rule_name="my zebra.cf")
        self.assertEqual(self.rules(), {"my zebra.cf": True})
        self.assertEqual([say("zebra"), say("clean")], [554, 250])
        for on, code in ((False, 250), (True, 554)):
            tell("save_spam_rules", modifiedList=[{"ruleName": "my zebra.cf", "isEnable": on}])
            self.assertEqual((self.rules(), say("zebra")), ({"my zebra.cf": on}, code))

        download = read("export_rule&rule_name=my%20zebra.cf")
        self.assertEqual(download.body.decode(), ZEBRA + "score LOCAL_ZEBRA 20\n")
        self.assertIn('filename="my zebra.cf"', download.headers["Content-Disposition"])

        bring_in(SPOOLED + ZEBRA + "score LOCAL_ZEBRA 9\n", "import_spam_rule",
                 rule_name="my zebra.cf")
        self.assertEqual(say("zebra", subject="nine points"), 250)
        text = delivered("bob", "nine points")
        self.assertIn("ubject: [SPAM] nine points", text)
        self.assertIn("LOCAL_ZEBRA=9", text)
        self.configure(spam_reject_score=0)
        self.assertEqual(say("zebra"), 554)
        self.delete()
        self.assertEqual(self.rules(), {})
        self.assertEqual(read("export_rule&rule_name=my%20zebra.cf").status, 502, "no answer")

    def test_what_is_no_rule_is_refused_and_the_scanner_keeps_running(self):
        bring_in(ZEBRA + "score LOCAL_ZEBRA 20\n", "import_spam_rule", rule_name="zebra.cf")
        scanner = harness.pid_of("/run/MailScanner.pid")
        write("/tmp/Evil.pm", "package Evil; open(my $f, '>', '/tmp/evil.ran'); 1;\n")
        for text, why in ((ZEBRA + "loadplugin Evil /tmp/Evil.pm\n", "line 4: is no rule"),
                          ("include /etc/shadow\n", "line 1: is no rule"),
                          ("body EVIL /(?{ `touch /tmp/evil.ran` })/\n", "line 1: holds a program"),
                          ("body BROKEN /(/\n", "refused by the spam filter")):
            with self.subTest(text):
                self.log = SystemLog()
                bring_in(text, "import_spam_rule", rule_name="bad.cf")
                self.assertNotIn("bad.cf", self.rules())
                self.assert_logged(why, "'bad.cf' is refused")
                self.assertRegex(self.log.audit()[-1], "action upload: failed .*'bad.cf'")
        bring_in("body BROKEN /(/\n", "import_spam_rule", rule_name="zebra.cf")
        self.assertEqual(say("zebra"), 554, "what was in force stays so")
        self.assertIn("score LOCAL_ZEBRA 20", read("export_rule&rule_name=zebra.cf").body.decode())
        self.assertFalse(os.path.exists("/tmp/evil.ran"))
        self.assertEqual(harness.pid_of("/run/MailScanner.pid"), scanner)

        for name in ("../evil.cf", "a/b.cf", "", ".", ".hidden", "a<b>"):
            bring_in(ZEBRA, "import_spam_rule", rule_name=name)
            self.assertEqual(os.listdir(ETC + "/rules"), ["zebra.cf"], name)
        left = [name for name in os.listdir(ETC) + os.listdir("/tmp")
                if name.startswith(("evil", "mailvane-upload", "mailvane-lint"))]
        self.assertEqual(left, [], "uploads and homes are gone")

    def test_many_sets_come_in_force_together_without_those_that_are_refused(self):
        names = ["set %02d.cf" % number for number in range(20)]
        for number, name in enumerate(names):
            write(ETC + "/rules/" + name, "header SET_%d Subject =~ /set%d!/\n"
                  "score SET_%d 20\n" % (number, number, number))
        generation = int(re.sub(r"\D", "", os.readlink(ETC + "/generated/current")))
        tell("save_spam_rules", modifiedList=[{"ruleName": name, "isEnable": True} for name in names])
        self.assertEqual(set(self.rules().values()), {True})
        self.assertEqual(int(re.sub(r"\D", "", os.readlink(ETC + "/generated/current"))),
                         generation + 1)
        self.assertEqual([say("clean", subject="set%d!" % number) for number in (0, 19)], [554, 554])

        write(ETC + "/rules/broken.cf", "body BROKEN /(/\n")
        request = {"action": "save_spam_rules", "modifiedList": [
            {"ruleName": "broken.cf", "isEnable": True}, {"ruleName": names[0], "isEnable": False}]}
        self.assertEqual(post(request).json()["errinfo"],
                         {"sec": "common", "key": "error_system"})
        self.assertEqual([say("clean", subject="set%d!" % number) for number in (0, 19)], [250, 554],
                         "what else was asked for is in force")
        self.assertIs(self.rules()["broken.cf"], False)

        self.configure(spam_enable=False)
        self.assertEqual(post(request).json(), {"success": True}, "nobody reads rules")
        self.assertRegex(self.log.audit()[-1], "save_spam_rules: failed .*'broken.cf' is refused")


class Lists(Filtering):
    def setUp(self):
        super().setUp()
        self.delete()
        self.addCleanup(self.apply)
        self.addCleanup(self.delete)

    def delete(self):
        tell("delete_spam_blackwhite_list", deleteList=[
            {"name": item["name"], "type": item["type"], "nameType": item["name_type"],
             "blackWhite": item["black_white"]} for item in self.load("&limit=1000")["items"]])

    def load(self, query=""):
        return read("load_spam_blackwhite" + query).json()

    def apply(self):
        self.assertEqual(command("apply_spam_blackwhite"), {"success": True})

    def add(self, black_white, list_type, name_type, *names):
        for name in names:
            tell("add_spam_blackwhite_list", blackWhite=black_white, type=list_type,
                 nameType=name_type, name=name)

    def test_they_act_once_they_are_applied_and_black_acts_without_the_filter(self):
        self.add(WHITE, SENDER, ADDRESS, "good@tree.test")
        self.add(WHITE, SENDER, TREE, ".white.test")
        self.add(WHITE, RECIPIENT, ADDRESS, CAROL)
        self.add(WHITE, CLIENT, IP, "127.0.0.7")
        self.add(BLACK, SENDER, TREE, "tree.test")
        self.add(BLACK, RECIPIENT, ADDRESS, ALICE)
        self.add(BLACK, CLIENT, NETWORK, "127.0.0.4/30")
        rows = [({"sender": "x@a.tree.test"}, 554), ({"sender": "good+x@tree.test"}, 250),
                ({"author": "x@a.tree.test"}, 250), ({"source": "127.0.0.5"}, 554),
                ({"source": "127.0.0.7"}, 250), ({"sender": "good@tree.test"}, 250)]
        self.assertEqual({say("clean", **how) for how, _ in rows}, {250}, "not applied")
        self.apply()
        self.assertEqual(say("spam", author="good@tree.test"), 554, "anybody can write this")
        for how in ({"sender": "good@tree.test"}, {"sender": "good+x@tree.test"},
                    {"sender": "x@a.white.test"}, {"source": "127.0.0.7"}):
            self.assertEqual(say("spam", **how), 250, how)
        for recipient in (CAROL, CAROL.replace("@", "+x@")):
            self.assertEqual(say("spam", recipient), 250)
        for on in (True, False):
            self.configure(spam_enable=on)
            for how, code in rows:
                self.assertEqual(say("clean", **how), code, how)
            self.assertEqual(say("clean", ALICE), 554)

    def test_mail_for_several_recipients(self):
        self.add(WHITE, RECIPIENT, ADDRESS, CAROL)
        self.add(BLACK, RECIPIENT, ADDRESS, ALICE)
        self.apply()
        kept = set(os.listdir("/var/lib/mailvane/quarantine"))
        self.assertEqual(say("spam", BOB, CAROL, subject="spam for two"), 250)
        delivered("carol", "spam for two")
        self.assertEqual(mails("bob", "spam for two"), [])
        self.assertEqual(len(set(os.listdir("/var/lib/mailvane/quarantine")) - kept), 1)
        self.assertEqual(say("clean", BOB, ALICE, subject="clean for two"), 250)
        delivered("bob", "clean for two")
        self.assertEqual(mails("alice", "clean for two"), [])


def total(action):
    return read(action).json()["total"]


class Imports(Filtering):
    def test_every_list_small_and_spooled(self):
        for action, members, line, load in (
                ("import_access", {"type": 1}, "a%d@x.test REJECT\n", "load_access"),
                ("import_bcc", {"type": 0}, "b%d@x.test bob\n", "load_bcc"),
                ("import_spam_blackwhite", {"blackWhite": 0}, "c%d@x.test\n",
                 "load_spam_blackwhite"),
                ("import_alias", {}, "d%d: bob\n", "alias_enum&limit=10")):
            with self.subTest(action):
                before = total(load)
                bring_in(line % 1, action, **members)
                bring_in(SPOOLED + line % 2, action, **members)
                self.assertEqual(total(load), before + 2)
                bring_in(line % 3 + "\nb c d e f\x01\n", action, **members)
                self.assertEqual(total(load), before + 2, "all or nothing")
                self.assert_logged("line 3: ")

    def test_an_import_needs_its_staging_and_no_other_user_can_stand_in(self):
        if os.path.exists(STAGED):
            os.unlink(STAGED)
        refusal = {"success": True, "errinfo": {"sec": "common", "key": "error_system"}}
        self.assertEqual(upload("x@x.test REJECT\n"), refusal)

        def as_alice(script):
            run("/usr/bin/setpriv", "--reuid=alice", "--regid=alice", "--clear-groups", "/bin/sh",
                "-c", script)

        as_alice("echo import_type=alias >%s; echo rule_name=evil >%s" % (STAGED, DRAFT))
        self.assertEqual(upload("evil: bob\n"), refusal)
        before = total("load_access")
        as_alice("echo import_type=alias >%s" % STAGED)
        bring_in("stood@x.test REJECT\n", "import_access", type=0)
        self.assertEqual(total("load_access"), before + 1)

        os.unlink(STAGED)
        as_alice("cd /tmp; echo kept >alice; ln -s alice %s; ln -s alice %s" % (STAGED, DRAFT))
        bring_in("linked@x.test REJECT\n", "import_access", type=0)
        self.assertEqual(total("load_access"), before + 2)
        self.assertEqual(contents("/tmp/alice"), "kept\n")

        os.unlink(STAGED)
        as_alice("mkdir -p %s/a %s/a" % (STAGED, DRAFT))
        bring_in("directory@x.test REJECT\n", "import_access", type=0)
        self.assertEqual(total("load_access"), before + 3)

        os.unlink(STAGED)
        for path in (STAGED, DRAFT):
            as_alice("exec /usr/bin/python3 -c 'import socket; "
                     "socket.socket(socket.AF_UNIX).bind(\"%s\")'" % path)
        self.assertEqual(upload("socket@x.test REJECT\n"), refusal)
        bring_in("socket@x.test REJECT\n", "import_access", type=0)
        self.assertEqual(total("load_access"), before + 4)
        self.assertIn("action upload: done; to change: access lists (1 imported)",
                      self.log.audit()[-1])


tearDownModule = file_modes.check
