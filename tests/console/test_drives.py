"""The stories of the console drive each action and each call that is described."""
import sys
import unittest
from pathlib import Path

STORIES = Path(__file__).resolve().parents[1] / "e2e"
sys.path.insert(0, str(STORIES))

import harness


def tests_of(suite):
    for one in suite:
        yield from tests_of(one) if isinstance(one, unittest.TestSuite) else [one]


def driven():
    """What the tests are marked with; each of them fails when its pages do not have it done."""
    stories = [path.stem for path in STORIES.glob("test_console_*.py")]
    for test in tests_of(unittest.defaultTestLoader.loadTestsFromNames(stories)):
        yield from getattr(getattr(test, test._testMethodName), "drives", ())


class Drives(unittest.TestCase):
    def test_none_is_left_out(self):
        described = {name for contract in harness.CONTRACTS.values() for _, name in contract.operations}
        self.assertEqual(set(driven()), described)


if __name__ == "__main__":
    unittest.main()
