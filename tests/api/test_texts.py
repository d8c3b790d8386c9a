"""The catalogue of texts: its languages against one another, its keys against who uses them."""
import os
import re
import sys
import unittest
from pathlib import Path

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path[:0] = [TOP + "/tools", TOP + "/tools/reference", TOP + "/tests/e2e"]

import contract
import make_reference
import openapi
from mailvane.common import texts

FOLDER = TOP + "/packaging/texts/"
CONSOLE = TOP + "/console/"
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


DOCUMENTS = [contract.Contract(name).document.root for name in ("openapi", "upkeep")]
SETTINGS = {name: about
            for part in openapi.Document(TOP + "/docs/settings.yaml").root.values()
            for name, about in part.get("properties", {}).items()}


def keys_of(key):
    # A member of an answer may have this name, too.
    return {value for document in DOCUMENTS for value in described(document, key)
            if isinstance(value, str)}


def referred(section):
    """The keys of a section whose paths the description names."""
    return lambda: {path[len(section):] for path in keys_of("text") | keys_of("x-text")
                    if path.startswith(section)}


def found_in(path, pattern):
    """What a pattern finds in a source, or in those of a folder."""
    top = Path(TOP, path)
    files = [top] if top.is_file() else top.rglob("*.cpp")
    return {word for file in files for word in re.findall(
        pattern, file.read_text(encoding="utf-8"))}


def reasons():
    return found_in("host/libhaldcore/reason_code.cpp", r'\{ReasonCode::\w+, "(\w+)"\}')


def refusals_of_the_gate():
    schemas = DOCUMENTS[0]["components"]["schemas"]
    return set(schemas["Refused"]["properties"]["error"]["enum"])


def stored_things():
    return (found_in("host", r'Subject::List\("(\w+)"\)') |
            found_in("upkeep", r'Subject::List\("(\w+)"\)') |
            found_in("host/libkos/answer_reasons.cpp", r'Subject::List, "(\w+)"') |
            found_in("host/libmailvane/render/lists.h", r'\{"(\w+)", ListStore') |
            found_in("host/libmailvane/save/list_change.cpp", r'kRuleSets\[\] = "(\w+)"'))


def services():
    return (found_in("host/libmailvane/daemons/daemons.h", r'\n    \{"([\w-]+)", "') |
            found_in("host/libhaldsdk/account_engine.h", r'kAccountSource\[\] = "(\w+)"') |
            found_in("host", r'Subject::Service\("(\w+)"\)') |
            found_in("upkeep", r'Subject::Service\("(\w+)"\)') |
            found_in("host/libkos/answer_reasons.cpp", r'(?:kProgram|kGate)\[\] = "(\w+)"'))


def errors_of(section):
    """The keys of the messages that answers can have."""
    pairs = [pair.split("/") for operation in contract.Contract("openapi").document.operations()
             for pair in make_reference.reasons(operation[2])]
    return lambda: {key for named, key in pairs if named == section}


def checks():
    source = Path(TOP, "docs/self_check.md").read_text(encoding="utf-8")
    return set(re.findall(r"^\| `(\w+)` \|", source, re.M))


def sections_of_the_console():
    """The sections of the console's own texts, each with the function that returns its used keys: those
    that its sources name as "section/key", whole or up to a ${value}."""
    source = "".join(path.read_text(encoding="utf-8") for path in Path(CONSOLE, "src").rglob("*.js"))
    english = texts.read(CONSOLE + "texts/en")

    def used(section):
        named = set(re.findall(r'["`]%s/([a-z0-9_]*(?:\$\{)?)' % section, source))
        begun = tuple(word[:-2] for word in named if word.endswith("${"))
        whole = {word for word in named if not word.endswith("${")}
        # A text for a number of things has a key for each form: NAME.one, NAME.other.
        forms = {key: key.partition(".")[0] for key in english[section]}
        return whole - set(forms.values()) | {
            key for key, name in forms.items() if name in whole or begun and name.startswith(begun)}

    return {("console", section): lambda section=section: used(section) for section in english}


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
    **{("errors", section): errors_of(section)
       for section in ("common", "msg", "error", "diagnose", "bcc", "user", "warning")},
    ("checks", "titles"): checks,
    ("checks", "do"): checks,
    ("checks", "any"): lambda: {"off", "unknown"},
    ("reasons", "reasons"): reasons,
    ("reasons", "gate"): refusals_of_the_gate,
    ("reasons", "lists"): stored_things,
    ("reasons", "services"): services,
    **sections_of_the_console(),
}


def catalogue():
    """Sections with their texts, by language and topic; the topic of the log's pages is ""."""
    found = {}
    for name in sorted(os.listdir(FOLDER)):
        language, _, topic = name.partition(".")
        found.setdefault(language, {})[topic] = texts.read(FOLDER + name)
    for language, topics in found.items():
        topics["console"] = texts.read(CONSOLE + "texts/" + language)
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
                        self.assertNotRegex(PLACEHOLDER.sub("x", text), r"^\s*$|^\s|\s$|[{}]")

    def test_every_key_is_used_and_what_is_used_is_there(self):
        english = catalogue()["en"]
        self.assertEqual({(topic, section) for topic in english for section in english[topic]},
                         set(USED))
        for (topic, section), used in USED.items():
            with self.subTest(topic=topic, section=section):
                self.assertEqual(set(english[topic][section]), used())


if __name__ == "__main__":
    unittest.main()
