"""Runs the machine's programs between the steps of a change, and hears of signals to end there."""
import contextlib
import signal
from collections.abc import Iterator

from mailvane.common import programs
from mailvane.common.errors import Refused

LONGEST = 180  # seconds
NEVER_RAN = 127  # in place of the exit status of a program that did not start, or did not end


class Failed(Exception):
    """A step that did not succeed; its text tells the administrator why."""


_told = []  # numbers of the signals that came


@contextlib.contextmanager
def between_steps() -> Iterator[None]:
    """In it, a signal to end interrupts nothing: `heed` hears it."""
    numbers = (signal.SIGHUP, signal.SIGINT, signal.SIGTERM)
    before = [signal.signal(number, lambda own, _: _told.append(own)) for number in numbers]
    try:
        yield
    finally:
        for number, handler in zip(numbers, before):
            signal.signal(number, handler)


def heed() -> None:
    """Fails when this process was told to end."""
    if _told:
        raise Failed("interrupted by %s" % signal.Signals(_told[0]).name)


def attempt(*words: str, typed: str = "") -> tuple[int, str, str]:
    """Exit status and what was written to standard output and standard error."""
    try:
        return programs.run(words, typed=typed, patience=LONGEST)
    except Refused as problem:
        return NEVER_RAN, "", str(problem)


def output(*words: str, typed: str = "") -> str:
    """What a program writes; Failed when it does not succeed."""
    status, text, errors = attempt(*words, typed=typed)
    if status != 0:
        raise Failed("%s: %s" % (" ".join(words[:3]), errors.strip() or "status %d" % status))
    return text
