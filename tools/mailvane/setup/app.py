"""The command line of mailvane-setup.

To add a command: write its module with `WORDS`, `SUMMARY`, `OPTIONS` (long ones, as getopt takes
them) and `run(session, options, words)`, which gives the exit status, and add its row to COMMANDS.
"""
from __future__ import annotations

import fcntl
import getopt
import importlib
import os
import sys
from collections.abc import Iterator

from mailvane.common.errors import NoAnswer, Refused, Usage
from mailvane.setup.run import Failed
from mailvane.setup.state import State

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import IO

DONE, FAILED, USAGE, UNSEEN, ASKED = 0, 1, 2, 3, 4
COMMANDS = ("admin", "certificate", "adopt", "remove", "status", "listeners")
LOOKING = ("status", "listeners")  # they change nothing
LOCK = "/run/mailvane-setup.lock"
STATUSES = """\
Exit status: 0 done, 1 failed (what was changed is taken back), 2 wrong usage, 3 mail would not be
seen any more (adopt without --force), 4 nothing was changed because nobody said yes."""


class Session:
    """What commands share: options, paths, the state of the hand-over."""

    def __init__(self, target: str) -> None:
        self.target = target
        self.etc = os.path.dirname(target) + "/etc"
        self.state = State(self.etc + "/adopted")

    @staticmethod
    def confirm(question: str) -> bool | None:
        """Asks at the terminal; None when there is no terminal."""
        if not sys.stdin.isatty():
            return None
        return input(question + " [y/N] ").strip().lower() in ("y", "yes")


def complain(text: str) -> None:
    """Prints a line on standard error, after flushing standard output."""
    sys.stdout.flush()
    print("mailvane-setup: " + text, file=sys.stderr)


def main(target: str, words: list[str]) -> int:
    """Runs a command line; returns the exit status."""
    try:
        return _run(target, words)
    except Usage as problem:
        complain(str(problem))
        return USAGE
    except (Failed, NoAnswer, Refused, OSError) as problem:
        complain(str(problem))
        return FAILED
    except (EOFError, KeyboardInterrupt):  # at a question: nothing was changed
        return 130


def _run(target: str, words: list[str]) -> int:
    if not words or words[0] in ("-h", "--help", "help"):
        print("\n".join(_help()))
        return DONE
    if words[0] not in COMMANDS:
        raise Usage("no command %s; `mailvane-setup help` lists them" % words[0])
    module = importlib.import_module("mailvane.setup." + words[0])
    try:
        options, rest = getopt.gnu_getopt(words[1:], "", module.OPTIONS)
    except getopt.GetoptError as problem:
        raise Usage(str(problem)) from problem
    if os.geteuid() != 0:
        raise Usage("only root can do that")
    with open(LOCK, "w", encoding="ascii") as lock:
        if words[0] not in LOOKING:
            _take(lock)
        return module.run(Session(target), {name for name, _ in options}, rest)


def _take(lock: IO[str]) -> None:
    """Takes the lock, so that only one change runs; it is held until this process ends."""
    try:
        fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except BlockingIOError as problem:
        raise Failed("another mailvane-setup is at work") from problem


def _help() -> Iterator[str]:
    yield "usage: mailvane-setup COMMAND [WORD]..."
    yield ""
    for name in COMMANDS:
        module = importlib.import_module("mailvane.setup." + name)
        yield "  %-36s %s" % (("%s %s" % (name, module.WORDS)).strip(), module.SUMMARY)
    yield ""
    yield STATUSES
