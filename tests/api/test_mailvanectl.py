"""mailvanectl: whole command lines on a program that answers and logs as it is told.

  test_mailvanectl.py ACTIONS.JSON
"""
import contextlib
import io
import json
import os
import shlex
import sys
import tempfile
import unittest
from unittest import mock

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, TOP + "/tools")

from mailvane.common.reference import Reference
from mailvane.ctl import app, arguments, upkeep

MASK = "\ufffd" * 8
PROGRAM = """#!/bin/sh
{ echo "$REQUEST_METHOD $QUERY_STRING $REMOTE_USER $HTTP_X_MAILVANE $CONTENT_TYPE"; cat; } >>%s/sent
cat %s/log >&2
cat %s/answer
"""


class Commands(unittest.TestCase):
    """Whole command lines, on a program that answers as it is told."""

    def setUp(self):
        self.target = self.enterContext(tempfile.TemporaryDirectory())
        os.makedirs(self.target + "/ui")
        os.makedirs(self.target + "/share/mailvane")
        for name in ("actions.json", "settings.json"):
            os.symlink(os.path.join(os.path.dirname(os.path.abspath(ACTIONS)), name),
                       self.target + "/share/mailvane/" + name)
        os.makedirs(self.target + "/app")
        os.symlink(TOP + "/packaging/texts", self.target + "/app/texts")
        with open(self.target + "/ui/mailvane.cgi", "w", encoding="ascii") as file:
            file.write(PROGRAM % ((self.target,) * 3))
        os.chmod(self.target + "/ui/mailvane.cgi", 0o755)
        self.enterContext(mock.patch("os.geteuid", lambda: 0))

    def run_line(self, *words, answer="", log=""):
        """Exit status, standard output and standard error."""
        with open(self.target + "/log", "w", encoding="utf-8") as file:
            file.write(log)
        with open(self.target + "/answer", "w", encoding="utf-8") as file:
            file.write(answer)
        with open(self.target + "/out", "w+", encoding="utf-8") as out, \
                contextlib.redirect_stdout(out), \
                contextlib.redirect_stderr(io.StringIO()) as err:
            status = app.main(self.target, ["--as", "eve", *words])
            out.seek(0)
            return status, out.read(), err.getvalue()

    def sent(self):
        with open(self.target + "/sent", encoding="utf-8", newline="") as file:
            return file.read()

    def test_the_examples_of_the_help_are_taken(self):
        for name in REFERENCE.names():
            action = REFERENCE.action(name)
            self.assertTrue(action.examples, name)
            for line in action.examples:
                with self.subTest(line), mock.patch.object(
                        arguments, "_secret", lambda _, text: text):
                    session, command, words = app._parse(self.target, shlex.split(line))
                    given, files = arguments.members_of(action, words)
                    self.assertEqual((command, len(files)), (name, int(action.then_upload)))
                    self.assertLessEqual(bool(session.output), action.download)
                    arguments.complete(action, given)

    def test_the_help_tells_about_a_setting(self):
        status, out, _ = self.run_line("help", "spam_action")
        self.assertEqual(status, 0)
        for words in ("quarantine Keep it aside", "edit spam_config spam_action=",
                      "only with    spam_enable yes", "restarts     mailscanner", "is lost"):
            self.assertIn(words, out)
        status, _, err = self.run_line("help", "smtp_prot")
        self.assertEqual(status, 2)
        self.assertIn("did you mean smtp_port", err)

    def test_exit_status_and_streams(self):
        head = "Content-Type: application/json\n\n"
        for answer, status, out, err in (
            ('{"success":true,"x":1}', 0, '{\n  "success": true,\n  "x": 1\n}\n', ""),
            ('{"success":false,"errinfo":{"sec":"error","key":"error_port_conflict",'
             '"errField":"SMTP"}}', 1, "",
             "error/error_port_conflict (SMTP): another service holds the port"),
            ('{"success":false}', 1, "", "the system log says why (journalctl -t mailvane.cgi)"),
            ('{"success":true,"errinfo":{"sec":"a","key":"b"}}', 1, "", "a/b"),
            ("null", 1, "", "system log"),
            ("no json", 3, "", "no JSON; the system log says why"),
        ):
            with self.subTest(answer):
                got = self.run_line("save_smtp", full_page("save_smtp"), answer=head + answer)
                self.assertEqual(got[:2], (status, out))
                self.assertIn(err, got[2])
        for answer in ("", "Content-Type: text/html\n", "</table>\n"):
            self.assertEqual(self.run_line("load_smtp", answer=answer)[0], 3)
        refused = self.run_line("load_smtp", answer='Status: 403 Forbidden\n' + head +
                                '{"success":false,"error":"forbidden"}')
        self.assertEqual(refused[0], 1)
        self.assertIn("forbidden (403)", refused[2])
        self.assertEqual(self.run_line("load_smpt")[0], 2)
        self.assertEqual(self.run_line("-o", "/nowhere", "load_smtp")[0], 2)
        self.assertEqual(self.run_line("add_domain", "domain=a.test", "b.test")[0], 2)

    def test_what_the_program_logs_about_the_request_is_told(self):
        log = ('<5>mailvane: audit: user "eve", action x: done\n'
               "<6>mailvane: step postfix restart: done\n<4>mailvane: a hint\n")
        why = "<3>mailvane: refused \033 a value\n<3>mailvane:45 it fails\nodd\n"
        head = 'Status: 200\n\n{"success":'
        self.assertEqual(self.run_line("add_domain", "domain=x", answer=head + "true}", log=log),
                         (0, '{\n  "success": true\n}\n', "mailvanectl: a hint\n"))
        told = ("odd\nmailvanectl: add_domain: it failed:\n"
                "  refused ? a value\n  it fails\n")
        self.assertEqual(self.run_line("add_domain", "domain=x", answer=head + "false}",
                                       log=log + why), (1, "", told))
        self.assertEqual(self.run_line("load_smtp", answer="", log=why), (3, "", (
            "odd\nmailvanectl: no answer:\n  refused ? a value\n  it fails\n")))

    def test_the_reasons_of_a_refusal_are_told(self):
        answer = "Content-Type: application/json\nX-Mailvane-Reason: %s\n\n%s"
        entries = [{"setting": "smtp_port", "code": "in_use"},
                   {"service": "other", "code": "holds_port"},
                   {"line": 7, "code": "no_entry"}, {"list": "access", "code": "new_one"}]
        failed = answer % (json.dumps(entries), '{"success":false}')
        status, _, errors = self.run_line("save_smtp", full_page("save_smtp"), answer=failed)
        self.assertEqual((status, errors.splitlines()[1:]), (1, [
            "  smtp_port (in_use): Another program uses the port. Stop that program, or take "
            "another port.",
            "  a program that is none of the package's (holds_port): It holds the port. Stop it or "
            "move it to another port.",
            "  line 7 (no_entry): The line does not have the form of an entry. Compare it with a "
            "file that was exported.", "  access lists (new_one)"]))
        taken = answer % (json.dumps(entries[2:3]), '{"success":true}')
        with tempfile.NamedTemporaryFile() as file:
            status, out, errors = self.run_line("upload", file.name, answer=taken)
        self.assertEqual((status, out), (1, ""))
        self.assertIn("the file was refused:\n  line 7 (no_entry)", errors)

    def test_what_cannot_be_taken_back_is_asked_for(self):
        answer = 'Status: 200\n\n{"success":true}'
        with mock.patch("sys.stdin", io.StringIO()):
            self.assertEqual(self.run_line("clear_log", answer=answer)[0], 2)
        for typed, status in (("n", 1), ("", 1), ("y", 0)):
            with mock.patch.object(upkeep.sys, "stdin") as terminal, \
                    mock.patch("builtins.input", lambda _, typed=typed: typed):
                terminal.isatty.return_value = True
                self.assertEqual(self.run_line("clear_log", answer=answer)[0], status)
        self.assertEqual(len(self.sent().splitlines()), 2)
        self.assertEqual(self.run_line("clear_log", "--yes", answer=answer)[0], 0)
        self.assertEqual(self.run_line("load_smtp", "--yes", answer=answer)[0], 2)

    def test_lists_come_by_pages_that_say_when_there_is_more(self):
        answer = 'Status: 200\n\n{"success":true,"items":[],"total":%d}'
        for words, total, query, note in (
                ([], 51, "&limit=50", "50 of 51; the next with start=50"), ([], 50, "", ""),
                (["start=50"], 100, "", ""), (["limit=0"], 3, "&limit=0", "0 of 3"),
                (["limit=20", "start=20"], 41, "&start=20", "20 of 41; the next with start=40")):
            status, out, errors = self.run_line("alias_enum", *words, answer=answer % total)
            self.assertEqual((status, json.loads(out)["total"]), (0, total))
            self.assertIn(query, self.sent().splitlines()[-1])
            self.assertEqual((note in errors, bool(errors)), (True, bool(note)))

    def test_markup_and_masks_are_not_for_people(self):
        for action, answer, shown in (
                ("alias_enum", '{"alias_member":"bob, <font color=#115ba6>R&amp;D</font>"}',
                 {"alias_member": "bob, R&D"}),
                ("load_report", '{"auth_password":"%s","x":"<b>"}' % MASK,
                 {"auth_password": "*" * 8, "x": "<b>"})):
            answer = "Status: 200\n\n" + answer
            self.assertEqual(json.loads(self.run_line(action, answer=answer)[1]), shown)
            raw = self.run_line("--raw", action, answer=answer)[1]
            self.assertEqual(raw, answer.partition("\n\n")[2])

    def test_the_self_check_as_a_table(self):
        answer = "Status: 200\n\n" + json.dumps({"success": True, "settings": [
            {"key": key, "status": status} for key, status in (
                ("dovecot", "OK"), ("dns_mx", "FAILED"), ("pop3_port", "OFF"),
                ("dns_spf", "WARNING"))]})
        log = ("<4>mailvane: self-check: dns_mx is FAILED: a.test: no MX\n"
               "<4>mailvane: self-check: dns_spf is WARNING: none\n")
        self.assertEqual(self.run_line("check", answer=answer, log=log), (1, (
            "STATUS   CHECK      REASON\nFAILED   dns_mx     a.test: no MX\n"
            "WARNING  dns_spf    none\nOK       dovecot\nOFF      pop3_port\n\nWhat to do:\n"
            "  dns_mx: Publish the MX record that mailvanectl dns prints. If mail is meant to go "
            "elsewhere first, nothing is to be done.\n"
            "  dns_spf: Publish one SPF record for each domain, as mailvanectl dns prints it; "
            "remove further ones.\n"), ""))
        told = json.loads(self.run_line("check", "--json", answer=answer)[1])
        self.assertEqual([(one["key"], bool(one["do"])) for one in told], [
            ("dns_mx", True), ("dns_spf", True), ("dovecot", False), ("pop3_port", True)])
        fine = "Status: 200\n\n" + '{"success":true,"settings":[{"key":"a","status":"OFF"}]}'
        self.assertEqual(self.run_line("check", "--json", answer=fine)[0], 0)

    def test_scanning_without_signatures_is_told(self):
        answer = "Status: 200\n\n" + json.dumps({"success": True, "settings": [
            {"key": "virus_signatures", "status": "FAILED"}]})
        for scans, before, told in ((True, False, True), (True, True, False),
                                    (False, False, False)):
            words = json.dumps({**json.loads(full_page("save_security")),
                                "anti_virus_enable": scans})
            with mock.patch("mailvane.ctl.consequences._scans_already",
                            lambda before=before: before):
                errors = self.run_line("save_security", words, answer=answer)[2]
            self.assertEqual("mail is refused" in errors, told)

    def test_reads_are_queries_and_writes_are_json(self):
        self.run_line("load_access", "search_key=a b&c=ü", "start=-1", answer="Status: 200\n\n{}")
        self.assertEqual(self.sent().splitlines()[0].split(" ")[:4], [
            "GET", "action=load_access&limit=50&search_key=a%20b%26c%3D%C3%BC&start=-1", "eve",
            "mailvanectl"])
        self.run_line("add_domain", "domain=a.test", answer="Status: 200\n\n{}")
        head, body = self.sent().splitlines()[1:]
        self.assertEqual(head, "POST  eve mailvanectl application/json")
        self.assertEqual(json.loads(body), {"action": "add_domain", "domain": "a.test"})

    def test_an_import_announces_and_uploads(self):
        path = self.target + '/li"st'
        with open(path, "w", encoding="ascii") as file:
            file.write("x@y.test OK")
        answer = 'Status: 200\n\n{"success":true}'
        self.assertEqual(self.run_line("import_access", "type=0", path, answer=answer)[0], 0)
        self.assertRegex(self.sent(), r'(?s)"type": 0\}.*multipart/form-data; boundary=(\w+)\n'
                         r'--\1\r\n.*filename="li_st"\r\n.*\r\n\r\nx@y.test OK\r\n--\1--\r\n$')
        before = self.sent()
        self.assertEqual(self.run_line("import_access", "type=0", "/nowhere")[0], 2)
        self.assertEqual(self.sent(), before)

    def test_downloads_replace_a_file_only_when_they_are_whole(self):
        path = self.target + "/aliases"
        head = ("Content-Type:application/octet-stream\n"
                'Content-Disposition:attachment; filename="a"\n\n')
        self.assertEqual(self.run_line("export_alias", answer=head + "a: b\n")[:2], (0, "a: b\n"))
        self.assertEqual(self.run_line("-o", path, "export_alias", answer=head + "a: b\n")[0], 0)
        self.assertEqual(self.run_line("export_alias", "-o", path, answer="")[0], 3)
        with open(path, encoding="ascii") as file:
            self.assertEqual(file.read(), "a: b\n")


def full_page(action):
    """All that a save must not lack, as JSON."""
    return json.dumps({name: {"integer": 1, "boolean": True, "string": ""}[member.type]
                       for name, member in REFERENCE.action(action).members.items()
                       if member.required})


if __name__ == "__main__":
    ACTIONS = sys.argv.pop(1)
    REFERENCE = Reference(ACTIONS)
    unittest.main()
