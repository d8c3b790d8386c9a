"""mailvane-setup admin: which password the mailbox gets."""
import unittest
from unittest import mock

import parts  # where the modules are
from mailvane.setup import admin


class Administrator(unittest.TestCase):
    def test_the_mailbox_has_a_password_of_its_own_unless_that_is_wanted(self):
        for answer, is_wanted in (("", False), ("n", False), ("maybe", False), ("y", True),
                                  ("Yes", True)):
            wanted = "of the web" if is_wanted else "of the mailbox"
            with mock.patch("sys.stdin.isatty", lambda: True), mock.patch("builtins.print"), \
                 mock.patch("builtins.input", return_value=answer), \
                 mock.patch("getpass.getpass", return_value="of the mailbox"):
                self.assertEqual(admin._of_mailbox("alice", "of the web"), wanted, answer)
