"""mailvanectl: from the words of its command line to the members that are sent.

  test_arguments.py ACTIONS.JSON
"""
import io
import os
import sys
import tempfile
import time
import unittest
from unittest import mock

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, TOP + "/tools")

from mailvane.common import requests
from mailvane.common.errors import Usage
from mailvane.common.reference import Reference
from mailvane.ctl import arguments

MASK = "\ufffd" * 8


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
            ("save_smtp", ["smtp_port=2147483647"], {"smtp_port": 2147483647}),
            ("save_smtp", ["smtp_port=2147483648"], None),
            ("save_smtp", ["smtp_port=25", "smtp_port=26"], None),
            ("save_smtp", ["smtp_prot=25"], None),
            ("save_smtp", ['{"smtp_port":"25"}'], None),
            ("delete_domain", ["domainList=a.test"], {"domainList": [{"domain": "a.test"}]}),
            ("delete_access", ["deleteList=a.test"], None),
            ("apply_alias_info", ["member=bob", "member=-@staff", "member=alias:info",
                                  "member=x@y.test"],
             {"member": [{"name": name, "type": kind, "is_join": joins} for name, kind, joins in (
                 ("bob", 0, True), ("staff", 1, False), ("info", 2, True),
                 ("x@y.test", 3, True))]}),
            ("load_log", ["mail_status=2", "mail_to=bob"],
             {"searchParams": '{"mail_status": 2, "mail_to": "bob"}'}),
            ("load_log", ["mail_status=2", "searchParams={}"], None),
        ):
            with self.subTest(action=action, words=words):
                if wanted is None:
                    self.assertRaises(Usage, self.members, action, *words)
                else:
                    self.assertEqual(self.members(action, *words), (wanted, []))

    def test_dates(self):
        self.addCleanup(time.tzset)
        self.enterContext(mock.patch.dict(os.environ, {"TZ": "Europe/Berlin"}))
        time.tzset()
        for text, begin, end in (
            ("2026-11-22", 1795302000, 1795388399),
            ("2026-11-22T10:00", 1795338000, 1795338000),
            ("2026-11-22 10:00:01Z", 1795341601, 1795341601),
            ("2026-11-22T10:00+02:00", 1795334400, 1795334400),
            ("2026-10-25", 1792879200, 1792969199),  # has 25 hours
            ("2026-10-25T02:30", 1792888200, 1792888200),  # comes twice
            ("1795302000", 1795302000, 1795302000), ("0", 0, 0),
            *((wrong, None, None) for wrong in (
                "2026", "20261122", "2026-13-01", "2026-02-30", "22.11.2026", "tomorrow",
                "2026-11-22T25:00", "-5", "2026-W47")),
        ):
            with self.subTest(text):
                words = ["reply_begin_time=" + text, "reply_end_time=" + text]
                if begin is None:
                    self.assertRaises(Usage, self.members, "save_personal", *words)
                else:
                    self.assertEqual(self.members("save_personal", *words)[0], {
                        "reply_begin_time": str(begin), "reply_end_time": str(end)})
        self.assertEqual(self.members("load_log", '{"searchParams":{"date_to":"2026-11-22"}}')[0],
                         {"searchParams": '{"date_to": "1795388399"}'})
        self.assertEqual(self.members("overview_load", "time=2026-11-22")[0], {"time": 1795388399})

    def test_what_was_perhaps_meant(self):
        for action, word, meant in (("add_access", "type=0", "accessType or nameType"),
                                    ("load_personal", "usr=bob", "user"),
                                    ("load_access", "query=bob", ""),
                                    ("save_smtp", "smtp_prot=25", "smtp_port")):
            with self.assertRaises(Usage) as refusal:
                self.members(action, word)
            self.assertEqual("did you mean %s" % meant in str(refusal.exception), meant != "")

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
        sent = arguments.complete(save, requests.edited(save, {**page, "acc_items": []},
                                                    {"smtp_port": 26}))
        self.assertEqual(sent, {**{name: 1 for name, member in save.members.items()
                                   if member.required}, "smtp_port": 26})

    def test_the_mask_keeps_a_password_that_leaving_out_would_remove(self):
        save = REFERENCE.action("save_report")
        page = {name: 1 for name in save.members}
        sent = arguments.complete(save, requests.edited(save, {**page, "auth_password": "leaked"}, {}))
        self.assertEqual(sent["auth_password"], MASK)
        for password, sent in (("new", "new"), ("*" * 8, MASK)):
            given = {**page, "auth_password": password}
            self.assertEqual(arguments.complete(save, given)["auth_password"], sent)


if __name__ == "__main__":
    REFERENCE = Reference(sys.argv.pop(1))
    unittest.main()
