"""Holds the numbers of the accounts that get mail: the platform's and those of the package of Python."""

import re
import sys
import unittest
from pathlib import Path

TOP = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TOP / "tools"))

from mailvane.common import accounts

NUMBER = re.compile(r"^constexpr unsigned (\w+) = (\d+);$", re.MULTILINE)


class MailUsers(unittest.TestCase):
    def test_setup_takes_over_mail_of_those_that_get_it(self) -> None:
        numbers = dict(NUMBER.findall((TOP / "host/libhaldsdk/account_lookup.h").read_text()))
        self.assertEqual((int(numbers["kFirstMailUser"]), int(numbers["kLastMailUser"])),
                         (accounts.LOWEST, accounts.HIGHEST))


if __name__ == "__main__":
    unittest.main()
