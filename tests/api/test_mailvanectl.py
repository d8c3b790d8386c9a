"""mailvanectl: what becomes of the words of its command line.

  test_mailvanectl.py ACTIONS.JSON
"""
import contextlib
import io
import json
import os
import sys
import tempfile
import unittest
from unittest import mock

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, TOP + "/tools/mailvanectl")

from ctl import app, arguments, edit
from ctl.reference import Reference, Usage

MASK = "\ufffd" * 8
PROGRAM = """#!/bin/sh
{ echo "$REQUEST_METHOD $QUERY_STRING $REMOTE_USER $HTTP_X_MAILVANE $CONTENT_TYPE"; cat; } >>%s/sent
cat %s/answer
"""


class Words(unittest.TestCase):
    """From words to members."""

    def members(self, action, *words, typed=""):
        with mock.patch("sys.stdin", io.StringIO(typed)):
            return arguments.members_of(REFERENCE.action(action), words)

    def test_values_are_of_the_documented_type(self):
        for action, words, wanted in (
            ("save_smtp", ["smtp_enabled=yes", "smtp_ssl_enabled=false", "smtp_port=2525"],
             {"smtp_enabled": True, "smtp_ssl_enabled": False, "smtp_port": 2525}),
            ("save_smtp", ["smtp_hostname=a=b", "acc_domain_name="],
             {"smtp_hostname": "a=b", "acc_domain_name": ""}),
            ("alias_del", ["alias=info", "alias=[x]"], None),
            ("alias_del", ['alias=["a","b"]', "alias=c"], {"alias": ["a", "b", "c"]}),
            ("delete_domain", ['domainList={"domain":"a"}'], {"domainList": [{"domain": "a"}]}),
            ("set_sender_quota", ['orgSetting={"sasl_sender":"x"}', "quota=-1"],
             {"orgSetting": {"sasl_sender": "x"}, "quota": -1}),
            ("save_smtp", ['{"action":"x","smtp_port":25}', "smtp_enabled=no"],
             {"smtp_port": 25, "smtp_enabled": False}),
            ("load_log", ['{"start":5,"searchParams":{"mail_status":2}}'],
             {"start": 5, "searchParams": '{"mail_status": 2}'}),
            ("save_smtp", ["smtp_enabled=maybe"], None),
            ("save_smtp", ["smtp_port=25x"], None),
            ("save_smtp", ["smtp_port=2147483648"], None),
            ("save_smtp", ["smtp_port=25", "smtp_port=26"], None),
            ("save_smtp", ["smtp_prot=25"], None),
            ("save_smtp", ['{"smtp_port":"25"}'], None),
            ("delete_domain", ["domainList=a.test"], None),
        ):
            with self.subTest(action=action, words=words):
                if wanted is None:
                    self.assertRaises(Usage, self.members, action, *words)
                else:
                    self.assertEqual(self.members(action, *words), (wanted, []))

    def test_passwords_are_never_taken_from_the_command_line(self):
        for words in (["smtp_relay_password=secret"], ["smtp_relay_password="],
                      ['{"smtp_relay_password":"secret"}']):
            with self.assertRaises(Usage) as refusal:
                self.members("save_relay", *words)
            self.assertNotIn("secret", str(refusal.exception))

    def test_passwords_come_from_standard_input_or_a_file(self):
        wanted = ({"smtp_relay_password": "se cret"}, [])
        self.assertEqual(self.members("save_relay", "smtp_relay_password=-", typed="se cret\n"),
                         wanted)
        self.assertEqual(self.members("save_relay", "-",
                                      typed='{"smtp_relay_password": "se cret"}'), wanted)
        with tempfile.NamedTemporaryFile("w") as file:
            file.write("se cret\nmore\n")
            file.flush()
            self.assertEqual(self.members("save_relay", "smtp_relay_password=@" + file.name),
                             wanted)
        self.assertRaises(Usage, self.members, "save_relay", "smtp_relay_password=@/nowhere")


class Sent(unittest.TestCase):
    """Which members leave."""

    def test_a_save_is_not_sent_with_members_that_would_count_as_off(self):
        with self.assertRaisesRegex(Usage, "smtp_enabled .*edit smtp"):
            arguments.complete(REFERENCE.action("save_smtp"), {"smtp_hostname": "a.test"})
        given = {"smtp_relay_port": 25}
        self.assertEqual(arguments.complete(REFERENCE.action("save_relay"), given), given)

    def test_a_page_goes_back_without_its_passwords(self):
        save = REFERENCE.action("save_smtp")
        page = {name: "" if member.secret else 1 for name, member in save.members.items()}
        sent = arguments.complete(save, edit.edited(save, {**page, "acc_items": []},
                                                    {"smtp_port": 26}))
        self.assertEqual(sent, {**{name: 1 for name, member in save.members.items()
                                   if member.required}, "smtp_port": 26})

    def test_the_mask_keeps_a_password_that_leaving_out_would_remove(self):
        save = REFERENCE.action("save_report")
        page = {name: 1 for name in save.members}
        sent = arguments.complete(save, edit.edited(save, {**page, "auth_password": "leaked"}, {}))
        self.assertEqual(sent["auth_password"], MASK)
        given = {**page, "auth_password": "new"}
        self.assertEqual(arguments.complete(save, given)["auth_password"], "new")


class Commands(unittest.TestCase):
    """Whole command lines, on a program that answers as it is told."""

    def setUp(self):
        self.target = self.enterContext(tempfile.TemporaryDirectory())
        os.makedirs(self.target + "/ui")
        os.makedirs(self.target + "/share/mailvanectl")
        os.symlink(os.path.abspath(ACTIONS), self.target + "/share/mailvanectl/actions.json")
        with open(self.target + "/ui/mailvane.cgi", "w", encoding="ascii") as file:
            file.write(PROGRAM % (self.target, self.target))
        os.chmod(self.target + "/ui/mailvane.cgi", 0o755)
        self.enterContext(mock.patch("os.geteuid", lambda: 0))

    def run_line(self, *words, answer=""):
        """Exit status, standard output and standard error."""
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

    def test_exit_status_and_streams(self):
        head = "Content-Type: application/json\n\n"
        for answer, status, out, err in (
            ('{"success":true,"x":1}', 0, '{\n  "success": true,\n  "x": 1\n}\n', ""),
            ('{"success":false,"errinfo":{"sec":"error","key":"error_port_conflict",'
             '"errField":"SMTP"}}', 1, "",
             "error/error_port_conflict (SMTP): another service holds the port"),
            ('{"success":false}', 1, "", "system log"),
            ('{"success":true,"errinfo":{"sec":"a","key":"b"}}', 1, "", "a/b"),
            ("null", 1, "", "system log"),
            ("no json", 3, "", "no JSON"),
        ):
            with self.subTest(answer):
                got = self.run_line("save_smtp", FULL_PAGE, answer=head + answer)
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

    def test_reads_are_queries_and_writes_are_json(self):
        self.run_line("load_access", "search_key=a b&c=ü", "start=-1", answer="Status: 200\n\n{}")
        self.assertEqual(self.sent().splitlines()[0].split(" ")[:4], [
            "GET", "action=load_access&search_key=a%20b%26c%3D%C3%BC&start=-1", "eve",
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


if __name__ == "__main__":
    ACTIONS = sys.argv.pop(1)
    REFERENCE = Reference(ACTIONS)
    FULL_PAGE = json.dumps({name: {"integer": 1, "boolean": True, "string": ""}[member.type]
                            for name, member in REFERENCE.action("save_smtp").members.items()
                            if member.required})
    unittest.main()
