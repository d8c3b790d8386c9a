"""What is built of the console: the same bytes each time, no way for markup into the page, and all that
a first visit loads.

  test_build.py ESBUILD
"""
import re
import sys
import tempfile
import unittest
from pathlib import Path

TOP = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TOP / "console/make"))

import build

SOURCES = sorted((TOP / "console/src").rglob("*.js"))
VERBS = ("add", "edit", "delete", "import", "export")  # of lists
# What takes a text for markup, or for a program.
SINKS = re.compile(r"innerHTML|outerHTML|insertAdjacentHTML|document\.write|srcdoc|DOMParser|"
                   r"createContextualFragment|\beval\b(?!:)|new Function|style=\"")
# Bytes on their way, with one language: for the form to sign in, the overview and a page of settings, and
# for all pages.
AT_START, EVERYTHING = 45 * 1024, 78 * 1024


def built(folder):
    build.build(folder, "1.2.3", ESBUILD, str(TOP / "docs"))
    site = Path(folder, "site")
    return {str(path.relative_to(site)): path.read_bytes()
            for path in site.rglob("*") if path.is_file()}


class Console(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        with tempfile.TemporaryDirectory() as first, tempfile.TemporaryDirectory() as second:
            cls.site, cls.again = built(first), built(second)

    def test_has_the_same_bytes_in_any_folder(self):
        self.assertEqual(self.site, self.again)

    def test_is_small(self):
        page = self.site["index.html"].decode()
        texts = re.findall(r"/(assets/en-\w+\.json)", "".join(map(str, self.site.values())))
        start = {*re.findall(r'"/(assets/[^"]+)"', page), texts[0]}
        self.assertEqual(len(start), 5)
        self.assertLessEqual(len(page) + self.packed(start), AT_START)
        everything = {name for name in self.site if name.endswith(".js")} | {*texts} | start
        self.assertLessEqual(len(page) + self.packed(everything), EVERYTHING)

    def packed(self, names):
        return sum(len(self.site[name + ".gz"]) for name in names)

    def test_has_no_way_for_markup(self):
        for path in SOURCES:
            self.assertIsNone(SINKS.search(path.read_text(encoding="utf-8")), path)


class Requests(unittest.TestCase):
    """What the pages ask for: by their descriptions, and by name."""

    def test_all_can_be_done_and_each_change_is_asked_for_in_one_place(self):
        about = build.describe.description(str(TOP / "docs"))
        described = {page[member] for page in about["pages"].values() for member in ("load", "save")}
        for one in about["lists"].values():
            described |= {one["load"], one.get("apply")} | {one[verb]["action"] for verb in VERBS if verb in one}
        sources = {path: set(re.findall(r"""["'](\w+)["']""", path.read_text(encoding="utf-8")))
                   for path in SOURCES if path.stem != "transport"}
        for name, action in about["actions"].items():
            places = [path.name for path, words in sources.items() if name in words]
            with self.subTest(name):
                self.assertTrue(places or name in described)
                if {"kind", "proof"} & action.keys():
                    self.assertLessEqual(len(places), 1, places)


if __name__ == "__main__":
    ESBUILD = sys.argv.pop(1)
    unittest.main()
