#!/usr/bin/python3
"""The tests that docs/security.md names for its promises are there."""
import os
import re
import unittest

TOP = os.path.join(os.path.dirname(os.path.realpath(__file__)), "../..")


def read(path):
    """Text of a source."""
    with open(os.path.join(TOP, path), encoding="utf-8") as file:
        return file.read()


def tests():
    """Names of all tests: `test_name` in Python, `Suite.Name` in C++, `fuzz_target`."""
    for folder, _, names in os.walk(os.path.join(TOP, "tests")):
        for text in (read(os.path.join(folder, name)) for name in names
                     if name.endswith((".py", ".cpp", "CMakeLists.txt"))):
            yield from re.findall(r"def (test_\w+)\(", text)
            yield from map(".".join, re.findall(r"^TEST(?:_F)?\((\w+),\s*(\w+)\)", text, re.M))
            yield from ("fuzz_" + name for name in re.findall(r"^add_fuzz_\w+\((\w+)", text, re.M))


class SecurityPage(unittest.TestCase):
    """See above."""

    def test_names_tests_that_are_there(self):
        """Those in the last column of its table."""
        cells = re.findall(r"^\|.*\| *(.+) \|$", read("docs/security.md"), re.M)
        named = set(re.findall(r"`(test_\w+|fuzz_\w+|[A-Z]\w+\.[A-Z]\w+)`", "".join(cells)))
        self.assertGreater(len(named), 20)
        self.assertEqual(sorted(named - set(tests())), [])


if __name__ == "__main__":
    unittest.main()
