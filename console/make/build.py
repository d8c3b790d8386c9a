"""Builds the console: one script, one style sheet, one file of texts for each language, one page.

build.py FOLDER VERSION ESBUILD DOCS

FOLDER   where `site` is written, ready to be served, and `made`, which the tests use too
VERSION  of the package
ESBUILD  the program that bundles
DOCS     where the descriptions of the API stand

The names of files below `assets` have a part that is made from their bytes, so that browsers may keep
them for ever; beside each lies what a server sends to those that take gzip. The same sources give the
same bytes."""
import gzip
import hashlib
import json
import os
import re
import shutil
import subprocess
import sys
from typing import Any

CONSOLE = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
TOP = os.path.dirname(CONSOLE)
sys.path.insert(0, TOP + "/tools")

import describe
from mailvane.common import texts

CATALOGUE = TOP + "/packaging/texts"
VENDOR = CONSOLE + "/vendor"
LANGUAGES = ("en", "de")
# The texts of the mail log's labels stand in a file without a topic.
TOPICS = ("log", "settings", "pages", "errors", "checks", "reasons")
# What is left of the indentation of templates, where it has no meaning. esbuild writes the line breaks of
# strings as such too: none in the sources has blanks behind it.
WHITE = re.compile(rb"\n[ \t]+")
# Of preact the folder: its package.json files name the sources, those of its hooks too.
LIBRARIES = {"preact": VENDOR + "/preact", "htm": VENDOR + "/htm/src/index.mjs"}


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
        self.file(address + ".gz", gzip.compress(content, 9, mtime=0))
        return address

    def file(self, address: str, content: bytes) -> None:
        with open(self._folder + address, "wb") as file:
            file.write(content)


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


def compact(value: Any) -> bytes:
    return json.dumps(value, ensure_ascii=False, separators=(",", ":")).encode()


def bundle(esbuild: str, source: str, target: str, made: str) -> bytes:
    """A source with all that it imports, as one small file."""
    known = {**LIBRARIES, "made-api": made + "/api.json", "made-site": made + "/site.json"}
    subprocess.run(
        [esbuild, source, "--bundle", "--minify", "--main-fields=source,main", "--format=esm", "--target=es2022",
         "--charset=utf8", "--legal-comments=none", "--log-level=warning", "--outfile=" + target,
         *("--alias:%s=%s" % pair for pair in known.items())],
        check=True, cwd=CONSOLE, stdin=subprocess.DEVNULL)
    with open(target, "rb") as file:
        return WHITE.sub(b"\n", file.read())


def build(folder: str, version: str, esbuild: str, docs: str) -> None:
    made = folder + "/made"
    os.makedirs(made, exist_ok=True)
    site = Site(folder + "/site")
    with open(CONSOLE + "/icon.svg", "rb") as icon:
        mark = site.asset("icon.svg", icon.read())

    with open(made + "/api.json", "wb") as file:
        file.write(compact(describe.description(docs)))
    about = {
        "version": version,
        "texts": {language: site.asset(language + ".json", compact(texts_of(language)))
                  for language in LANGUAGES},
        "licences": site.asset("licences.txt", licences()),
    }
    with open(made + "/site.json", "wb") as file:
        file.write(compact(about))

    script = site.asset("app.js", bundle(esbuild, "src/main.js", made + "/app.js", made))
    style = site.asset("app.css", bundle(esbuild, "style.css", made + "/app.css", made))
    with open(CONSOLE + "/index.html", encoding="utf-8") as page:
        text = page.read().replace("{script}", script).replace("{style}", style).replace("{icon}", mark)
    site.file("/index.html", text.encode())


if __name__ == "__main__":
    build(os.path.abspath(sys.argv[1]), sys.argv[2], sys.argv[3], sys.argv[4])
