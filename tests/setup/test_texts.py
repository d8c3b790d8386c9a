"""mailvane-setup: what it reads line by line, and passwords."""
import unittest
from unittest import mock

import parts  # where the modules are
from mailvane.common import passwords
from mailvane.common.errors import Usage
from mailvane.setup import listeners, logins, postfix, tables, units

SOCKETS = """\
LISTEN 0      1024   0.0.0.0:80    0.0.0.0:* users:(("lighttpd",pid=35,fd=5))
LISTEN 0      4096   [::1]:783     [::]:*    users:(("spamd",pid=50,fd=5),("spamd",pid=51,fd=5))
LISTEN 0      4096   127.0.0.1:99  0.0.0.0:*
"""


class Texts(unittest.TestCase):
    """What is read line by line."""

    def test_lists_and_tables(self):
        for got, wanted in (
            (postfix.words("a, b\tc,,{ x, y } d"), ["a", "b", "c", "{ x, y }", "d"]),
            (postfix.parse_parameters("a = b = c\nempty =\n"), {"a": "b = c", "empty": ""}),
            (tables.rows("# no\na@b.test  x, y\n  z\n\n@b.test\tc\n"),
             [("a@b.test", "x, y z"), ("@b.test", "c")]),
            (tables.alias_rows('a: b,\n  c\n# no\n"q r": "|/bin/p a, b", \\d\nroot:e\nnothing\n'),
             [("a", ["b", "c"]), ("q r", ["|/bin/p a, b", "\\d"]), ("root", ["e"])]),
            (tables.source_of("proxy:hash:/etc/x"), "/etc/x"),
            (logins.with_login(b"a:1\nab:2\nb:3", "a", "9"), b"ab:2\nb:3\na:9\n"),
            (units.parse("Id=a.service\nLoadState=loaded\nUnitFileState=enabled\nActiveState=active"
                         "\n\nId=b.service\nLoadState=not-found\nUnitFileState=\nActiveState=x\n"),
             {"a.service": {"enabled": "enabled", "active": True}}),
            (listeners.parse(SOCKETS), [("0.0.0.0", "80", "lighttpd", "35"),
                                        ("[::1]", "783", "spamd", "50")]),
        ):
            self.assertEqual(got, wanted)
        for table in ("pcre:/etc/x", "ldap:/etc/x", "/etc/x", "unionmap:{hash:/a, hash:/b}"):
            self.assertRaises(tables.Unreadable, tables.source_of, table)

    def test_passwords_are_refused(self):
        for typed in ("", "123456789\n", "x" * 200 + "\n", "tab\there and there\n"):
            with mock.patch("sys.stdin") as stream:
                stream.isatty.return_value = False
                stream.readline.return_value = typed
                self.assertRaises(Usage, passwords.ask, "alice", "the web")
