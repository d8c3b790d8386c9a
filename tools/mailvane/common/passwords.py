"""New passwords: asking for one, and its rules."""
import sys

from mailvane.common.display import plain
from mailvane.common.errors import Usage

SHORTEST, LONGEST = 10, 128  # characters


def ask(name: str, purpose: str) -> str:
    """A password, typed twice at a terminal, or else the next line of standard input."""
    if sys.stdin.isatty():
        import getpass
        password = getpass.getpass("Password of %s for %s: " % (plain(name), purpose))
        checked(password)
        if getpass.getpass("Again: ") != password:
            raise Usage("the two passwords differ")
        return password
    password = sys.stdin.readline().removesuffix("\n")
    if not password.strip():
        raise Usage("no password: run it at a terminal, which asks for one, or write one of at "
                    "least %d characters to standard input" % SHORTEST)
    checked(password)
    return password


def checked(password: str) -> str:
    """A password that may be one; refused else."""
    if len(password) < SHORTEST:
        raise Usage("a password has at least %d characters" % SHORTEST)
    if len(password) > LONGEST or not password.isprintable():
        raise Usage("a password has at most %d characters, and none that control" % LONGEST)
    return password
