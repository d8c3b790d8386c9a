"""The sources of the end-to-end tests: what they send bears the day on which it is sent."""
import pathlib
import re
import unittest

STORIES = pathlib.Path(__file__).resolve().parents[1] / "e2e"
MONTHS = "Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec"
DAY = re.compile(r"\b\d\d? (%s) \d{4}|\b(19|20)\d\d-\d\d-\d\d|\b1\d{9}\b" % MONTHS)


class Dates(unittest.TestCase):
    def test_no_day_is_written_down(self):
        found = ["%s:%d: %s" % (source.name, number, line)
                 for source in sorted(STORIES.glob("*.py"))
                 for number, line in enumerate(source.read_text(encoding="utf-8").splitlines(), 1)
                 if DAY.search(line)]
        self.assertEqual(found, [], "scores and time limits depend on the distance from today")


if __name__ == "__main__":
    unittest.main()
