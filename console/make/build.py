"""Builds the console: scripts, one style sheet, two files of texts for each language, one page.

build.py FOLDER VERSION ESBUILD DOCS

FOLDER   where `site` is written, ready to be served, and `made`, which the tests use too
VERSION  of the package
ESBUILD  the program that bundles
DOCS     where the descriptions of the API stand

The names of files below `assets` have a part that is made from their bytes, so that browsers may keep
them for ever; beside each lies what a server sends to those that take gzip. The same sources give the
same bytes.

What the page names, and the first texts of a language, is all that signing in, the overview and the
pages of settings need. The rest is loaded when one of its pages is opened."""
import concurrent.futures
import hashlib
import json
import os
import re
import shutil
import subprocess
import sys
from typing import Any

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, TOP + "/tools")

import describe
from bundler import CONSOLE, VENDOR, Bundler
from mailvane.common import texts

CATALOGUE = TOP + "/packaging/texts"
LANGUAGES = ("en", "de")
PACKER = "zopfli"  # writes FILE.gz beside a file
# The texts of the mail log's labels stand in a file without a topic.
TOPICS = ("log", "settings", "pages", "errors", "checks", "reasons")
# What a source names of the console's texts: SECTION/KEY, whole or up to a ${value}.
NAMED = re.compile(r'["`](\w+/\w*)(?:["`]|(\$\{))')


class Site:
    """The folder that is served."""

    def __init__(self, folder: str) -> None:
        self._folder = folder
        shutil.rmtree(folder, ignore_errors=True)
        os.makedirs(folder + "/assets")

    def asset(self, name: str, content: bytes) -> str:
        """Adds a file, and returns the address that it has."""
        stem, dot, ending = name.rpartition(".")
        mark = hashlib.sha256(content).hexdigest()[:10]
        address = "/assets/%s-%s%s%s" % (stem, mark, dot, ending)
        self.file(address, content)
        return address

    def file(self, address: str, content: bytes) -> None:
        write(self._folder + address, content)

    def pack(self) -> None:
        """Puts the packed form beside each file below `assets`."""
        paths = sorted(os.scandir(self._folder + "/assets"), key=lambda entry: -entry.stat().st_size)
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            list(pool.map(lambda entry: subprocess.run([PACKER, entry.path], check=True), paths))


def texts_of(language: str) -> dict[str, Any]:
    """The texts of a language by topic, section and key."""
    found: dict[str, Any] = {}
    for topic in TOPICS:
        ending = "" if topic == "log" else "." + topic
        found[topic] = texts.read("%s/%s%s" % (CATALOGUE, language, ending))
    found["console"] = texts.read("%s/texts/%s" % (CONSOLE, language))
    return found


def licences() -> bytes:
    """The licences of the libraries that are built in."""
    parts = []
    for name in sorted(os.listdir(VENDOR)):
        if os.path.isdir(os.path.join(VENDOR, name)):
            with open("%s/%s/LICENSE" % (VENDOR, name), encoding="utf-8") as file:
                parts.append("%s\n\n%s" % (name, file.read().strip()))
    return ("\n\n\n".join(parts) + "\n").encode()


def write(path: str, content: bytes) -> None:
    with open(path, "wb") as file:
        file.write(content)


def compact(value: Any) -> bytes:
    return json.dumps(value, ensure_ascii=False, separators=(",", ":")).encode()


def in_two(texts: dict[str, Any], sources: str) -> tuple[dict[str, Any], dict[str, Any]]:
    """The texts of a language that these sources need, and the others, which are of the console's own."""
    named = NAMED.findall(sources)
    whole = {path for path, is_begun in named if not is_begun}
    begun = tuple(path for path, is_begun in named if is_begun)
    first: dict[str, Any] = {}
    later: dict[str, Any] = {}
    for section, entries in texts["console"].items():
        for key, text in entries.items():
            path = "%s/%s" % (section, key)
            # A text for a number of things has a key for each form: NAME.one, NAME.other.
            is_first = path.partition(".")[0] in whole or path.startswith(begun)
            (first if is_first else later).setdefault(section, {})[key] = text
    return {**texts, "console": first}, {"console": later}


def build(folder: str, version: str, esbuild: str, docs: str) -> None:
    made = folder + "/made"
    os.makedirs(made, exist_ok=True)
    site = Site(folder + "/site")
    with open(CONSOLE + "/icon.svg", "rb") as icon:
        mark = site.asset("icon.svg", icon.read())

    write(made + "/api.json", compact(describe.description(docs)))
    about = {"version": version, "licences": site.asset("licences.txt", licences()), "texts": {}}
    bundler = Bundler(esbuild, made)
    write(made + "/site.json", compact(about))
    _, _, sources = bundler.parts()
    about["texts"] = {language: [site.asset(language + ".json", compact(part))
                                 for part in in_two(texts_of(language), sources)]
                      for language in LANGUAGES}
    write(made + "/site.json", compact(about))
    scripts, first, _ = bundler.parts()
    for name, content in scripts.items():
        site.file("/assets/" + name, content)
    style = site.asset("app.css", bundler.one(CONSOLE + "/style.css"))
    site.file("/index.html", page(style, mark, *("/assets/" + name for name in first)))
    site.pack()


def page(style: str, icon: str, script: str, *others: str) -> bytes:
    """The page, which names the scripts that the first one imports too, so that they come at once."""
    early = "".join('\n<link rel="modulepreload" href="%s">' % address for address in others)
    with open(CONSOLE + "/index.html", encoding="utf-8") as file:
        text = file.read()
    return text.replace("{script}", script).replace("{style}", style).replace("{icon}", icon).replace("{early}", early).encode()


if __name__ == "__main__":
    build(os.path.abspath(sys.argv[1]), sys.argv[2], sys.argv[3], sys.argv[4])
