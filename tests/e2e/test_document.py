"""The whole server as one document: exported, compared, applied."""
import json
import os
import re

import jsonschema
import yaml

import harness
from contract import TOP
from harness import ETC, SystemLog, delivered, send, settings, snapshot
from machine import failing
from pages import Pages
from test_ctl import ctl

EMPTY, DOCUMENT, AGAIN = "/root/empty.tar", "/root/document.yaml", "/root/again.yaml"
SCHEMA = TOP + "/docs/document.schema.json"
MANY = 1000
SAME, DIFFERS, UNUSABLE = 0, 1, 2

TEXTS = ["no", "null", "~", "0x1F", "1e3", "- a", "a: b", "# a", "!secret a", "*a", "&a", "%a", "@a",
         "[a]", "{a}", "'a'", '"a"', "a\\", "|", ">", "<<", "=", "? a", "-", "---", "...",
         "\u00fcml\u00e4ut", "\u2028line", "\u202esteers", "\ufefffirst", "\U0001f600"]
REPLY = "- a: b\n\n\t# tab\n  lead\n---\n...\n\u2028\u0085end  \n\n"


class Loader(yaml.SafeLoader):
    """Another reader of YAML."""


Loader.add_constructor("!secret", lambda loader, node: ("secret", node.value))


def parsed(path):
    with open(path, encoding="utf-8") as file:
        return yaml.load(file, Loader)


def filled():
    """A document with hostile names in every list, and a thousand entries."""
    numbers = range(MANY)
    locals_ = ["a'b", "%s", "*", "&a", "!a", "{a}", "?a", "=", "'", "-a", "~", "null", "no", "1e3",
               "`a", "$a", "ü"]
    local = [locals_[n % len(locals_)] + "_%d" % n for n in numbers]
    groups = [text for text in TEXTS if not set(text) & set('<>,:"')]
    return {
        "format": 1,
        "settings": {"spam_subject_tag": '\\ # [x]: "y" \u00fc', "smtp_relay_auth": True,
                     "smtp_relay_account": "- me", "smtp_relay_password": 'p"w: #\\ !secret'},
        "domains": ["d%d.example" % n for n in numbers],
        "blocklists": ["z%d.example %s" % (n, ("rbl_client", "rhsbl_sender", "rhsbl_helo")[n % 3])
                       for n in numbers],
        "aliases": {**{"1e%d" % n: ["alice", "%" + groups[n % len(groups)], "'a~$&=%d" % n][:1 + n % 2]
                       for n in numbers},
                    "null": [], "no": ["yes"], "yes": ["no"], "0x1F": ["x@far.example", "\\no"]},
        "access_senders": ["%s@a.example %s" % (one, ("OK", "REJECT", "DISCARD")[len(one) % 3])
                           for one in local],
        "access_recipients": [".t%d.example OK" % n for n in numbers],
        "access_clients": ["10.%d.%d.0/24 REJECT" % (n // 256, n % 256) for n in numbers],
        "copies_of_all": ["no"],
        "copies_of_senders": ["%s@c.example null" % one for one in local],
        "copies_of_recipients": ["@r%d.example 1e3" % n for n in numbers],
        "limits": {**{"u%d" % n: n for n in numbers}, **{text: 1 for text in TEXTS[3:10]}},
        "attachments": ["t%d" % n for n in numbers] + ["no", "1e3", "c++"],
        "rule_sets": {
            **{"r%d.cf" % n: {"enabled": False, "rules": "# %d\nbody R_%d /%d/" % (n, n, n)}
               for n in numbers},
            "no": {"enabled": True, "rules": "  # indented: comment\n\nbody ZEBRA /zebra: \"#\"/\n\n"},
            **{text: {"enabled": False, "rules": text} for text in TEXTS if "/" not in text
               and not set(text) & set("<>") and text[0] not in "." and text.strip() == text},
        },
        "black_list": ["sender %s@b.example" % one for one in local],
        "white_list": ["client 192.168.%d.%d" % (n // 256, n % 256) for n in numbers],
        "report": {"enabled": False, "hours": 23, "sender_name": "no: #", "smtp_password": "null"},
        "personal": {"alice": {"reply": True, "general_reply": {"subject": "# a: b", "message": REPLY},
                               "sender_replies": [{"sender": "no@far.example", "subject": text,
                                                   "message": text} for text in TEXTS]}},
    }


class Written(Pages):
    def done(self, *words, typed=""):
        status, output, errors = ctl(*words, typed=typed)
        self.assertEqual((status, errors), (0, ""), output)
        return output

    def write(self, document, path=DOCUMENT):
        text = document if isinstance(document, str) else yaml.safe_dump(
            {"format": 1, **document}, allow_unicode=True, sort_keys=False)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        return path


class Judged(Written):
    """What changes nothing."""

    def test_every_fault_has_its_line(self):
        path = self.write("""format: 1
settings:
  smtp_port: 70000
  imap_enabled: maybe
  smtp_relay_password: !secret relay_password
  unknown: 1
aliases:
  good: [bob]
  bad:
  - bob
  - "x: y"
access_senders:
- a@b.example OK
- A@b.example REJECT
- no
limits: {bob: -1}
rule_sets:
  z.cf:
    enabled: yes
    rules: |
      body Z /z/
      loadplugin Z
white_list: [sender x@y.example]
black_list: [sender x@y.example]
personal:
  stranger: {reply: true}
report: {hours: 24, sender_mail: none}
nothing: 1
""")
        before = snapshot(ETC)
        status, output, errors = ctl("diff", path)
        self.assertEqual((status, output, snapshot(ETC)), (UNUSABLE, "", before))
        lines = re.findall(r":(\d+): \S+ \((\w+)\)", errors)
        self.assertEqual([(int(line), code) for line, code in lines], [
            (3, "out_of_range"), (4, "no_choice"), (5, "missing"), (6, "missing"),
            (11, "no_address"), (14, "given_twice"), (15, "no_entry"), (16, "out_of_range"),
            (22, "no_rule"), (23, "given_twice"), (26, "missing"), (27, "out_of_range"),
            (27, "no_address"), (28, "missing")])
        for text, line in (("format: 1\nsettings: {a: 1\n", 3), ("format: 1\na: &x 1\n", 2),
                           ("format: 1\nformat: 1\n", 2), ("format: 2\n", 1),
                           ("format: 1\ndomains: *x\n", 2), ("format: 1\n---\n", 2),
                           ("- format\n", 1), ("format: 1\nlimits: \x07\n", 2)):
            status, _, errors = ctl("diff", self.write(text))
            self.assertEqual((status, re.findall(r"yaml:(\d+):", errors)), (UNUSABLE, [str(line)]),
                             errors)
        self.assertEqual(ctl("diff", "/root/there-is-none")[0], UNUSABLE)

    def test_two_documents_are_compared_as_they_stand(self):
        one = self.write({"settings": {"imap_enabled": "yes", "max_user_connections": 30},
                          "aliases": {"b": ["x"], "a": []}, "report": {"enabled": "no"},
                          "access_senders": ["b.example OK", "a.example OK"],
                          "rule_sets": {"z.cf": {"enabled": True, "rules": "body Z /z/\n"}}})
        other = self.write("""format: 1
access_senders: [a.example OK, b.example OK]
report: {enabled: false}
aliases: {a: [], b: [x]}
settings: {max_user_connections: 30, imap_enabled: true}
rule_sets: {z.cf: {enabled: true, rules: "body Z /y/\\n"}}
""", AGAIN)
        status, told, errors = ctl("diff", one, other)
        self.assertEqual((status, errors, told.partition("\n")[0]),
                         (DIFFERS, "", "rule_sets.z.cf: changed"))
        self.assertRegex(told, r"-.*body Z /z/\n(.*\n)?\+.*body Z /y/")
        bad = self.write("format: 1\nsettings:\n  unknown: 1\n  imap_port: [1]\nlimits: x\nno: 1\n")
        status, told, errors = ctl("diff", other, bad)
        self.assertEqual((status, told, re.findall(bad + r":(\d+):", errors)),
                         (UNUSABLE, "", ["3", "4", "5", "6"]))
        self.assertEqual([ctl("diff", *words)[0] for words in (
            ("999999", other), ("/root/there-is-none", other), (one, other, bad))],
            [UNUSABLE, UNUSABLE, 2])
        with open(bad, "w", encoding="ascii") as file:
            file.truncate((64 << 20) + 1)
        self.assertIn("more than 64.0 MB", ctl("diff", bad)[2])


class Documents(Written):
    def setUp(self):
        super().setUp()
        self.done("backup", EMPTY)
        self.addCleanup(ctl, "restore", EMPTY)

    def apply(self, document, *options):
        return self.done("apply", self.write(document), *options)

    def exported(self, path, *options):
        self.assertEqual(self.done("export", path, *options), "")
        self.assertEqual(os.stat(path).st_mode & 0o777, 0o600)
        with open(path, "rb") as file:
            return file.read()

    def test_there_and_back(self):
        wanted, everything = filled(), ("--with-secrets", "--with-personal")
        self.apply(wanted, "--prune")
        first = self.exported(DOCUMENT, *everything)
        found = parsed(DOCUMENT)
        with open(SCHEMA, encoding="ascii") as file:
            jsonschema.validate(found, json.load(file))
        for name, value in wanted.items():
            ours, theirs = found[name], value
            if name in ("settings", "report"):
                ours = {key: ours[key] for key in theirs}
            elif name == "personal":
                self.assertEqual(set(ours), {"alice"})
                ours, theirs = ours["alice"]["sender_replies"], theirs["alice"]["sender_replies"]
            elif name.startswith(("access", "copies_of_", "black", "white")):
                ours, theirs = sorted(ours), sorted(theirs)
            self.assertEqual(ours, theirs, name)
        self.done("restore", EMPTY)
        self.assertEqual(ctl("diff", DOCUMENT)[0], DIFFERS)
        self.done("apply", DOCUMENT)
        self.assertEqual(self.exported(AGAIN, *everything), first)
        generation = os.readlink(ETC + "/generated/current")
        before = snapshot(ETC)
        for options in ((), ("--prune",)):
            self.assertEqual(self.done("diff", DOCUMENT, *options), "")
            self.assertEqual(self.done("apply", DOCUMENT, *options), "nothing differs\n")
        self.assertEqual((snapshot(ETC), os.readlink(ETC + "/generated/current")),
                         (before, generation))

    def test_what_it_says_is_in_force(self):
        log = SystemLog()
        told = self.apply({
            "settings": {"pop3_enabled": True, "smtp_hostname": "document.test"},
            "aliases": {"everyone": ["alice", "bob"]},
            "access_senders": ["far.example REJECT"],
            "personal": {"bob": {"forward": False, "reply": True,
                                 "general_reply": {"subject": "away", "message": "by document\n"}}}})
        self.assertIn("settings.smtp_hostname: mv.test becomes document.test\n", told)
        self.assertIn("aliases.everyone: added\n", told)
        self.assertRegex(told, r"restarted: .*dovecot")
        self.assertTrue(harness.banner().startswith("220 document.test "))
        self.assertTrue(harness.answers(110))
        send("someone@elsewhere.test", ["everyone@" + harness.DOMAIN], "by document")
        delivered("alice", "by document")
        self.assertRegex("\n".join(log.audit()),
                         r'action apply: done; to change: .*pop3_enabled.*aliases \(1\)')
        # What is not mentioned stays, and goes where that is asked for, in its section alone.
        self.apply({"aliases": {"another": ["carol"]}})
        self.assertEqual(set(parsed_export(self)["aliases"]), {"another", "everyone"})
        self.apply({"aliases": {"another": ["carol"]}}, "--prune")
        left = parsed_export(self)
        self.assertEqual((set(left["aliases"]), left["access_senders"]),
                         ({"another"}, ["far.example REJECT"]))

    def test_all_or_nothing(self):
        document = {"settings": {"smtp_hostname": "refused.test"}, "aliases": {"lost": ["bob"]},
                    "attachments": ["lost"]}
        path, before = self.write(document), parsed_export(self)
        with failing("postfix"):
            self.assertEqual(ctl("apply", path)[0], 1)
        self.assertEqual(parsed_export(self), before)
        self.assertTrue(harness.banner().startswith("220 mv.test "))
        stored = snapshot(ETC)
        with harness.listener(2526):
            path = self.write({**document, "settings": {"smtp_port": 2526}})
            for options in ((), ("--dry-run",)):
                status, _, errors = ctl("apply", path, *options)
                self.assertEqual(status, 1)
                self.assertIn("port 2526", errors)
        self.assertEqual(snapshot(ETC), stored)
        told = self.done("apply", self.write(document), "--dry-run")
        self.assertRegex(told, "(?m)^would restart: .*postfix.*; nothing has changed")
        self.assertEqual(snapshot(ETC), stored)

    def test_an_overlay_counts_before_what_it_lies_over(self):
        self.write({"settings": {"smtp_hostname": "below.test", "imap_port": 2143},
                    "aliases": {"one": ["alice"], "two": ["bob"]}, "attachments": ["exe"],
                    "rule_sets": {"z.cf": {"enabled": True, "rules": "body Z /z/\n"}}})
        over = self.write({"settings": {"smtp_hostname": "over.test"}, "aliases": {"one": ["carol"]},
                           "attachments": ["scr"], "rule_sets": {"z.cf": {"enabled": False}}},
                          "/root/over.yaml")
        last = self.write({"settings": {"imap_port": 3143}}, "/root/last.yaml")
        words = (DOCUMENT, "--overlay", over, "--overlay", last, "--prune")
        self.done("apply", *words)
        self.assertEqual(self.done("diff", *words), "")
        found = parsed_export(self)
        self.assertEqual((settings()["smtp_hostname"], settings()["imap_port"]), ("over.test", "3143"))
        self.assertEqual((found["aliases"], found["attachments"], found["rule_sets"]),
                         ({"one": ["carol"], "two": ["bob"]}, ["exe", "scr"],
                          {"z.cf": {"enabled": False, "rules": "body Z /z/\n"}}))
        self.write("settings:\n  imap_port: 0\n", over)
        self.write("format: 1\nlimits: {bob: &x 1}\n", last)
        status, _, errors = ctl("diff", *words)
        self.assertEqual((status, re.findall(r"/root/(\w+)\.yaml:(\d+):", errors)),
                         (UNUSABLE, [("over", "1"), ("last", "2")]), errors)

    def test_secrets_stay_out_of_sight(self):
        relay = {"smtp_relay_auth": True, "smtp_relay_account": "me", "smtp_relay_server": "a.test"}
        path = self.write("format: 1\nsettings:\n  smtp_relay_auth: true\n"
                          "  smtp_relay_account: me\n"
                          "  smtp_relay_password: !secret relay_password\n")
        self.assertEqual(ctl("apply", path)[0], 1)
        told = self.done("apply", path, "--secrets", "-", typed="relay_password: hush\n")
        self.assertEqual(settings()["smtp_relay_password"], "hush")
        self.assertNotIn(b"hush", self.exported(AGAIN) + told.encode())
        self.assertEqual(parsed(AGAIN)["settings"]["smtp_relay_password"],
                         ("secret", "relay_password"))
        self.assertEqual(self.done("diff", path), "")
        _, told, _ = ctl("diff", path, "--secrets", "-", typed="relay_password: other\n")
        self.assertIn("settings.smtp_relay_password: ", told)
        self.assertNotRegex(told, "hush|: other")
        # A stored password goes to no other server.
        status, _, errors = ctl("apply", self.write({"settings": relay}))
        self.assertEqual((status, "type_again" in errors), (1, True))

    def test_lists_belong_to_the_accounts_that_are_served(self):
        here = {"aliases": {"here": ["bob"]}, "copies_of_all": ["carol"],
                "access_senders": ["here.example REJECT"]}
        there = {"settings": {"acc_domain_name": "there.test"}, "aliases": {"there": ["alice"]}}
        back = {"settings": {"acc_domain_name": "mv.test"}}
        lists = ("aliases", "copies_of_all", "access_senders")
        self.apply(here)
        self.done("apply", self.write(there), "--dry-run")
        with failing("postfix"):
            self.assertEqual(ctl("apply", DOCUMENT)[0], 1)
        self.assertEqual({name: parsed_export(self)[name] for name in lists}, here)
        self.apply(there)
        self.assertEqual({name: parsed_export(self)[name] for name in lists},
                         {"aliases": there["aliases"], "copies_of_all": [], "access_senders": []})
        self.apply(back)
        self.assertEqual({name: parsed_export(self)[name] for name in lists}, here)
        self.apply(there)
        self.assertEqual(parsed_export(self)["aliases"], there["aliases"])
        self.apply(back)

    def test_twenty_settings_restart_each_service_once(self):
        log = SystemLog()
        self.apply({"settings": {
            "smtp_hostname": "twenty.test", "smtp_ssl_enabled": True, "smtps_port": 2465,
            "smtp_tls_port": 2587, "pop3_enabled": True, "pop3_port": 2110, "imap_port": 2143,
            "max_user_connections": 30, "smtp_relay_server": "relay.test", "smtp_relay_port": 2525,
            "smtp_relay_tls": False, "enable_spf_check": True, "reject_spf_soft_fail": True,
            "reject_sasl_sender_rate_exceed": True, "smtpd_sasl_sender_rate_limit": 77,
            "reject_unauth_pipelining": False, "require_helo": False, "recipient_limit": 77,
            "message_size_limit_mb": 7, "client_message_rate_limit": 77}})
        steps = [line.partition("step ")[2] for line in log.lines() if ": step " in line]
        self.assertEqual(len(steps), len(set(steps)), steps)
        self.assertTrue(all(harness.answers(port) for port in (2465, 2587, 2110, 2143)))


    def test_a_generation_is_a_document_too(self):
        first_path, last_path = "/root/first.yaml", "/root/last.yaml"
        self.done("apply", self.write({"settings": {
            "smtp_hostname": "first.test", "smtp_relay_auth": True, "smtp_relay_account": "me",
            "smtp_relay_password": "hush"}, "domains": ["B.example", "a.example"],
            "copies_of_all": ["carol"]}))
        first = self.in_force()["number"]
        self.apply({"settings": {"smtp_hostname": "last.test", "smtp_relay_password": "other"},
                    "domains": ["c.example"], "aliases": {"kept": ["bob"]}})
        last = self.in_force()["number"]
        for number, path in ((first, first_path), (last, last_path)):
            self.write(self.done("show", str(number)), path)
            # What is shown is that generation, whatever order it comes in and whatever is secret.
            for sides in ((path, str(number)), (str(number), path)):
                self.assertEqual(self.done("diff", *sides), "")
        shown = parsed(first_path)
        self.assertEqual((set(shown), shown["domains"], shown["copies_of_all"]),
                         ({"format", "settings", "domains", "blocklists", "copies_of_all"},
                          ["b.example", "a.example"], ["carol"]))
        with open(first_path, encoding="ascii") as file:
            head = re.sub(r"\s+#?\s*", " ", file.read().partition("format:")[0])
        self.assertRegex(head, "Generation %d .*: aliases, .*report, keys" % first)
        self.assertEqual(shown["settings"]["smtp_relay_password"], ("secret", "relay_password"))

        becomes = "settings.smtp_hostname: first.test becomes last.test\n"
        status, told, errors = ctl("diff", str(first), str(last))
        self.assertEqual((status, errors), (DIFFERS, ""))
        self.assertIn(becomes + "settings.smtp_relay_password: !secret relay_password becomes "
                      "!other_secret relay_password\ndomains: added c.example\n", told)
        self.assertNotRegex(told, "hush|: other")
        self.assertIn("settings.smtp_hostname: last.test becomes first.test\n",
                      ctl("diff", str(first))[1])
        self.assertIn(becomes, ctl("diff", first_path, str(last))[1])
        self.exported(AGAIN)
        status, told, errors = ctl("diff", str(last), AGAIN)
        self.assertEqual((status, told), (SAME, ""))
        self.assertIn("only %s has them: aliases, " % AGAIN, errors)

        self.done("apply", first_path, "--prune")
        back = self.in_force()
        self.assertEqual(self.done("show", str(back["number"])).partition("format:")[2],
                         self.done("show", str(first)).partition("format:")[2])
        history = self.done("history")
        self.assertRegex(history, r"(?ms)\A%d  [-0-9]{10} [:0-9]{8}  root  apply  \(in force\)\n"
                         r"    settings: .*smtp_hostname.*^%d  " % (back["number"], last))
        self.assertEqual(json.loads(self.done("history", "--json"))[0], back)

    def in_force(self):
        return json.loads(self.done("history", "--json"))[0]


def parsed_export(test):
    test.exported(AGAIN)
    return parsed(AGAIN)
