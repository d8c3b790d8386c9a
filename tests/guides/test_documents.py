#!/usr/bin/python3
"""The documents: links of their pages lead somewhere, and commands and checks that they name exist."""
import glob
import html.parser
import os
import re
import subprocess
import sys
import tempfile
import unittest
from urllib.parse import unquote

TOP = os.path.dirname(os.path.realpath(__file__)) + "/../.."
sys.path.insert(0, TOP + "/tools")

from mailvane.common import texts
from mailvane.ctl import app
from mailvane.ctl.session import SUBCOMMANDS


class Page(html.parser.HTMLParser):
    """Names of the headings of a page, and the addresses that it leads to; each element has an end."""

    def __init__(self, path):
        super().__init__()
        self.names, self.addresses, self._open = set(), [], []
        with open(path, encoding="utf-8") as file:
            self.feed(file.read())
        self.ends = not self._open

    def handle_starttag(self, tag, attrs):
        found = dict(attrs)
        self.names.add(found.get("id"))
        self.addresses += [found[name] for name in ("href", "src") if name in found]
        if tag not in ("meta", "link"):
            self._open.append(tag)

    def handle_endtag(self, tag):
        if not self._open or self._open.pop() != tag:
            raise AssertionError("misplaced end of " + tag)


def sources():
    """Path and text of the documents for those who use it."""
    for path in ["README.md", *glob.glob("docs/**/*.md", root_dir=TOP, recursive=True)]:
        with open(os.path.join(TOP, path), encoding="utf-8") as file:
            yield path, file.read()


class Documents(unittest.TestCase):
    def test_links_lead_to_pages_and_headings(self):
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run(["/usr/bin/python3", TOP + "/packaging/html/pages.py", TOP, folder], check=True)
            paths = glob.glob(folder + "/**/*.html", recursive=True)
            pages = {os.path.normpath(path): Page(path) for path in paths}
            # Those, and four for who works on it: no page has taken the place of another.
            self.assertEqual(len(pages), len(list(sources())) + 4)
            for path, page in pages.items():
                self.assertTrue(page.ends, path)
                for address in page.addresses:
                    if not re.match("[a-z]+:", address):
                        place, _, name = address.partition("#")
                        target = os.path.normpath(os.path.join(os.path.dirname(path), place)) if place else path
                        with self.subTest(page=os.path.relpath(path, folder), address=address):
                            self.assertTrue(os.path.exists(target))
                            self.assertTrue(not name or unquote(name) in pages[target].names)

    def test_links_of_the_sources_lead_to_files(self):
        for path, text in sources():
            for address in re.findall(r"\]\(([^)#]+)", text):
                if not re.match("[a-z]+:", address):
                    with self.subTest(document=path, address=address):
                        self.assertTrue(os.path.exists(os.path.join(TOP, os.path.dirname(path), address)))

    def test_commands_exist(self):
        with open(TOP + "/docs/openapi.yaml", encoding="utf-8") as file:
            known = {*SUBCOMMANDS, *re.findall(r"operationId: (\w+)", file.read())}
        for path, text in sources():
            named = set(re.findall(r"(?:`|^[#$] |^ {4,}|; )mailvanectl ([a-z_]+)", text, re.M))
            with self.subTest(path):
                self.assertEqual(sorted(named - known), [])

    def test_the_manual_page_has_all_commands_and_options(self):
        with open(TOP + "/packaging/man/mailvanectl.8", encoding="utf-8") as file:
            page = file.read().replace("\\-", "-").replace("\\fR", "").replace("\\fB", "")
        words = set(re.findall(r"[\w-]+", page))
        self.assertEqual({*SUBCOMMANDS, *app.FLAGS, *app.VALUES} - words, set())

    def test_each_symptom_has_a_check_and_a_way_out(self):
        checks = set(texts.read(TOP + "/packaging/texts/en.checks")["titles"])
        with open(TOP + "/docs/settings.yaml", encoding="utf-8") as file:
            known = checks | set(re.findall(r"^    (\w+):$", file.read(), re.M))
        with open(TOP + "/docs/troubleshooting.md", encoding="utf-8") as file:
            symptoms = re.split(r"^### ", file.read().partition("## Still lost?")[0], flags=re.M)[1:]
        self.assertGreaterEqual(len(symptoms), 25)
        for symptom in symptoms:
            with self.subTest(symptom.partition("\n")[0]):
                look = re.search(r"^Look: (.*?)\n\nWay out: \S", symptom, re.M | re.S)
                self.assertIsNotNone(look)
                named = re.findall("`([^`]+)`", look[1])
                self.assertNotEqual(named, [])
                self.assertEqual([word for word in named if re.fullmatch(r"\w+", word)
                                  and word not in known], [])


if __name__ == "__main__":
    unittest.main()
