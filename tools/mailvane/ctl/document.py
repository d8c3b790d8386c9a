"""Documents on their way into the stored state, which the document tool changes: what one would
change or has changed, and what is wrong with it."""
from __future__ import annotations

import json
import os
import subprocess
import sys

from mailvane.common import display, paths
from mailvane.common.errors import Refused, Usage
from mailvane.ctl import generations, restore, upkeep

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Sequence
    from typing import Any
    from mailvane.ctl.session import Session

DIFF = "/usr/bin/diff"
LARGEST = 64 << 20  # bytes
STANDARD_INPUT = "-"
STARTING = ("start", "stop", "restart")


def carry(session: Session, verb: str, path: str, more: Sequence[str] = ()) -> dict[str, Any]:
    """Has the tool compare, rehearse or apply a document, with the overlays that are given and with
    more options of it; returns what that changes."""
    files = [path, *session.overlays]
    words = [*more, *(["--prune"] if "--prune" in session.flags else [])]
    with restore.staging() as folder:
        secrets = session.values.get("--secrets")
        if secrets:
            words.append("--secrets=" + _copied(secrets, folder, "secrets"))
        copies = [_copied(file, folder, "document%d" % number) for number, file in enumerate(files)]
        outcome = json.loads(upkeep.run_tool(paths.DOCUMENT_TOOL, verb, *words, folder, *copies))
    _check(session, outcome, files)
    return outcome


def between(session: Session, sides: list[str]) -> dict[str, Any]:
    """Has the tool compare two documents or generations."""
    if session.overlays or {"--prune", "--secrets"} & (session.flags | session.values.keys()):
        raise Usage("--overlay, --prune and --secrets are about a document and what is stored")
    with restore.staging() as folder:
        words = [side if generations.is_number(side) else _copied(side, folder, str(place) + ".yaml")
                 for place, side in enumerate(sides)]
        outcome = json.loads(upkeep.run_tool(paths.DOCUMENT_TOOL, "between", *words))
    _check(session, outcome, sides)
    return outcome


def _check(session: Session, outcome: dict[str, Any], files: list[str]) -> None:
    if outcome["faults"]:
        raise Refused("the document cannot be used, and nothing has changed", [
            _told(session, files[fault["file"]], fault) for fault in outcome["faults"]])


def _copied(path: str, folder: str, name: str) -> str:
    """The path of a copy of a file, or of standard input, that stays as it is."""
    if path == STANDARD_INPUT:
        data = sys.stdin.buffer.read(LARGEST + 1)
    else:
        with open(path, "rb") as file:
            data = file.read(LARGEST + 1)
    if len(data) > LARGEST:
        raise Refused("%s has more than %s" % (path, display.size_text(LARGEST)))
    copy = os.path.join(folder, name)
    restore.put(copy, data, 0o600)
    return copy


def _told(session: Session, path: str, fault: dict[str, Any]) -> str:
    place = "%s:%d" % (path, fault["line"]) if fault["line"] else path
    why = fault["why"] or session.texts.text("reasons", "reasons", fault["code"])
    return display.plain("%s: %s (%s)%s" % (place, fault["about"], fault["code"],
                                            why and ": " + why))


def words_about(change: dict[str, Any]) -> str:
    """A change in words."""
    section, key = change["section"], change["key"]
    if change["kind"] == "moved":
        return "%s: another order" % section
    before, after = change["before"].strip(), change["after"].strip()
    if not before and not after:
        return display.plain("%s: %s %s" % (section, change["kind"], key))
    where = display.plain("%s.%s: " % (section, key))
    if change["kind"] != "changed" or "\n" in before + after:
        return where + change["kind"]
    return where + display.plain("%s becomes %s" % (before, after))


def names_of(changes: list[dict[str, Any]]) -> list[str]:
    """What changes, for the audit line: settings by name, entries of lists by their number."""
    names = [change["key"] for change in changes if change["section"] == "settings"]
    counts: dict[str, int] = {}
    for change in changes:
        if change["section"] != "settings":
            counts[change["section"]] = counts.get(change["section"], 0) + 1
    return names + ["%s (%d)" % pair for pair in counts.items()]


def services(outcome: dict[str, Any]) -> list[str]:
    """The services that the steps of a save start, stop or restart."""
    return [step["name"].removesuffix(" service") for step in outcome["steps"]
            if step["verb"] in STARTING and step["name"].endswith(" service")]


def print_difference(outcome: dict[str, Any], labels: list[str]) -> None:
    """Prints a unified diff of the two sides."""
    if not outcome["changes"]:
        return
    sides = [os.memfd_create(name) for name in ("before", "after")]
    for side, name in zip(sides, ("before", "after")):
        with os.fdopen(os.dup(side), "wb") as file:
            file.write(outcome[name].encode())
    done = subprocess.run(
        [DIFF, "-u", *("--label=" + label for label in labels),
         *("/proc/self/fd/%d" % side for side in sides)],
        stdout=subprocess.PIPE, check=False, pass_fds=sides, text=True)
    print(done.stdout, end="")
