"""The catalogue of texts: its languages against one another, its keys against who uses them."""
import os
import re
import sys
import unittest
from pathlib import Path

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path[:0] = [TOP + "/tools", TOP + "/tools/reference", TOP + "/tests/e2e"]

import contract
import openapi
from mailvane.common import texts

FOLDER = TOP + "/packaging/texts/"
KEY = re.compile(r"\A[a-z0-9_.-]+\Z")
PLACEHOLDER = re.compile(r"\{[a-z]+\}")


def labels_of_the_log():
    """The keys that the pages of the mail log look up: texts of their sources."""
    source = "".join(path.read_text(encoding="utf-8") for path in Path(TOP, "maillog").iterdir())
    return set(re.findall(r'"(\w+)"', source)) & set(catalogue()["en"][""]["maillog"])


def described(node, key):
    """Every value that stands under a key in a part of the description."""
    children = list(node.values() if isinstance(node, dict) else node)
    found = [node[key]] if isinstance(node, dict) and key in node else []
    return found + [value for child in children if isinstance(child, (dict, list))
                    for value in described(child, key)]


DOCUMENT = contract.Contract().document.root
SETTINGS = {name: about
            for part in openapi.Document(TOP + "/docs/settings.yaml").root.values()
            for name, about in part.get("properties", {}).items()}


def keys_of(key):
    return set(described(DOCUMENT, key))


def referred(section):
    """The keys of a section whose paths the description names."""
    return lambda: {path[len(section):] for path in keys_of("text") | keys_of("x-text")
                    if path.startswith(section)}


# For each topic and section, a function that returns the keys that are used.
USED = {
    ("", "maillog"): labels_of_the_log,
    ("settings", "groups"): lambda: keys_of("x-group"),
    ("settings", "units"): lambda: keys_of("x-unit"),
    ("settings", "titles"): lambda: set(SETTINGS),
    ("settings", "help"): lambda: set(SETTINGS),
    ("settings", "warnings"): lambda: {name for name in SETTINGS if "x-warn" in SETTINGS[name]},
    ("settings", "choices"): referred("settings/choices/"),
    ("pages", "pages"): lambda: keys_of("x-page"),
    ("pages", "members"): referred("pages/members/"),
    ("pages", "choices"): referred("pages/choices/"),
}


def catalogue():
    """Sections with their texts, by language and topic; the topic of the log's pages is ""."""
    found = {}
    for name in sorted(os.listdir(FOLDER)):
        language, _, topic = name.partition(".")
        found.setdefault(language, {})[topic] = texts.read(FOLDER + name)
    return found


def shape(topics):
    """The sorted placeholders of each text, by topic, section and key."""
    return {(topic, section, key): sorted(PLACEHOLDER.findall(text))
            for topic, sections in topics.items() for section, keys in sections.items()
            for key, text in keys.items()}


class Catalogue(unittest.TestCase):
    maxDiff = None

    def test_every_language_has_every_text_with_the_same_placeholders(self):
        languages = catalogue()
        self.assertEqual(sorted(languages), ["de", "en"])
        self.assertEqual(shape(languages["de"]), shape(languages["en"]))

    def test_texts_are_as_their_readers_take_them(self):
        for language, topics in catalogue().items():
            for topic, sections in topics.items():
                for key, text in (row for keys in sections.values() for row in keys.items()):
                    with self.subTest(language=language, topic=topic, key=key):
                        self.assertRegex(key, KEY)
                        self.assertNotRegex(PLACEHOLDER.sub("", text), r"^\s*$|^\s|\s$|[{}]")

    def test_every_key_is_used_and_what_is_used_is_there(self):
        english = catalogue()["en"]
        self.assertEqual({(topic, section) for topic in english for section in english[topic]},
                         set(USED))
        for (topic, section), used in USED.items():
            with self.subTest(topic=topic, section=section):
                self.assertEqual(set(english[topic][section]), used())


if __name__ == "__main__":
    unittest.main()
