"""Runs programs as steps of a change. Signals that ask the process to end take effect between
steps."""
import contextlib
import signal
from collections.abc import Iterator

from mailvane.common import programs
from mailvane.common.errors import Refused

LONGEST = 180  # seconds
NEVER_RAN = 127  # exit status for a program that did not start or took too long


class Failed(Exception):
    """A step failed; the text tells the administrator why."""


_told = []  # signals received


@contextlib.contextmanager
def between_steps() -> Iterator[None]:
    """Context in which signals to end do not interrupt; `heed` acts on them."""
    numbers = (signal.SIGHUP, signal.SIGINT, signal.SIGTERM)
    before = [signal.signal(number, lambda own, _: _told.append(own)) for number in numbers]
    try:
        yield
    finally:
        for number, handler in zip(numbers, before):
            signal.signal(number, handler)


def heed() -> None:
    """Raises Failed when a signal to end was received."""
    if _told:
        raise Failed("interrupted by %s" % signal.Signals(_told[0]).name)


def attempt(*words: str, typed: str = "") -> tuple[int, str, str]:
    """Runs a program and returns exit status, standard output and standard error."""
    try:
        return programs.run(words, typed=typed, patience=LONGEST)
    except Refused as problem:
        return NEVER_RAN, "", str(problem)


def output(*words: str, typed: str = "") -> str:
    """Runs a program and returns its output; Failed when it does not succeed."""
    status, text, errors = attempt(*words, typed=typed)
    if status != 0:
        raise Failed("%s: %s" % (" ".join(words[:3]), errors.strip() or "status %d" % status))
    return text
