#!/usr/bin/python3
"""Makes pages for a browser of the documents in Markdown.

pages.py SOURCES FOLDER

SOURCES  the folder that has README.md, docs and the other documents
FOLDER   where the pages are written: index.html is docs/README.md, docs/NAME.md becomes NAME.html

Links between the documents lead to their pages, and to the headings there by the names that pages of
sources on the web give them.
"""
import os
import re
import shutil
import sys

from markdown_it import MarkdownIt
from markdown_it.token import Token

HERE = os.path.dirname(os.path.abspath(__file__))
# Debian packs what is called changelog.
BESIDE = {"README.md": "start.html", "CHANGELOG.md": "changes.html", "ARCHITECTURE.md": "architecture.html",
          "HACKING.md": "hacking.html", "console/README.md": "console_sources.html"}
PICTURES = (".svg", ".png")
PAGE = """<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>{title} - mailvane</title>
<link rel="stylesheet" href="{top}style.css">
</head>
<body>
<nav><a href="{top}index.html">All documents</a></nav>
<main>
{body}</main>
</body>
</html>
"""


def documents(sources: str) -> dict[str, str]:
    """Paths of all documents, and of the page of each."""
    found = {**BESIDE, "docs/README.md": "index.html"}
    for folder, _, names in os.walk(sources + "/docs"):
        for name in names:
            path = os.path.relpath(os.path.join(folder, name), sources)
            if name.endswith(".md"):
                found.setdefault(path, re.sub("README.md$", "index.md", path)[len("docs/"):-3] + ".html")
            elif name.endswith(PICTURES):
                found[path] = path[len("docs/"):]
    return found


def anchor(heading: str) -> str:
    """The name of a heading."""
    return re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


class Writer:
    """Makes one page after the other."""

    def __init__(self, sources: str, folder: str) -> None:
        self._sources = sources
        self._folder = folder
        self._pages = documents(sources)
        self._parser = MarkdownIt("commonmark").enable("table")

    def write_all(self) -> None:
        for path, page in self._pages.items():
            target = os.path.join(self._folder, page)
            os.makedirs(os.path.dirname(target), exist_ok=True)
            if path.endswith(PICTURES):
                shutil.copyfile(os.path.join(self._sources, path), target)
            else:
                with open(target, "w", encoding="utf-8") as file:
                    file.write(self._page(path, page))
        shutil.copyfile(HERE + "/style.css", self._folder + "/style.css")

    def _page(self, path: str, page: str) -> str:
        with open(os.path.join(self._sources, path), encoding="utf-8") as file:
            tokens = self._parser.parse(file.read())
        title = ""
        for token, after in zip(tokens, tokens[1:]):
            if token.type == "heading_open":
                text = "".join(part.content for part in after.children or ())
                token.attrSet("id", anchor(text))
                title = title or text
        for token in tokens:
            if token.children:
                token.children = self._linked(token.children, path, page)
        body = self._parser.renderer.render(tokens, self._parser.options, {})
        return PAGE.format(title=title, top="../" * page.count("/"), body=body)

    def _linked(self, parts: list[Token], path: str, page: str) -> list[Token]:
        """The parts of a paragraph, with links between pages. A link to what is no page is left as its
        text, a picture that is still to be made is left out."""
        kept, dropped = [], False
        for part in parts:
            if part.type == "link_close":
                if not dropped:
                    kept.append(part)
                dropped = False
                continue
            name = "src" if part.type == "image" else "href"
            address = self._address(str(part.attrGet(name) or ""), path, page)
            if part.type == "link_open":
                dropped = not address
            if part.type not in ("link_open", "image"):
                kept.append(part)
            elif address:
                part.attrSet(name, address)
                kept.append(part)
        return kept

    def _address(self, address: str, path: str, page: str) -> str:
        """Where a link of a document leads from its page; nothing for a file that is no page."""
        if re.match(r"[a-z]+:|#", address):
            return address
        place, mark, heading = address.partition("#")
        wanted = os.path.normpath(os.path.join(os.path.dirname(path), place))
        if wanted not in self._pages:
            return ""
        return os.path.relpath(self._pages[wanted], os.path.dirname(page) or ".") + mark + heading


if __name__ == "__main__":
    shutil.rmtree(sys.argv[2], ignore_errors=True)
    os.makedirs(sys.argv[2])
    Writer(os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])).write_all()
