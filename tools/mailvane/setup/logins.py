"""Web logins: the file that the web server checks names and passwords by."""
import getpass
import grp
import sys

from mailvane.ctl.reference import Usage
from mailvane.setup import files
from mailvane.setup.run import Failed, output

WEB_GROUP = "mailvane-web"
SHORTEST, LONGEST = 10, 128  # characters of a password


def ask_password(name):
    """A password, typed twice at a terminal, else the first line of standard input."""
    if sys.stdin.isatty():
        password = getpass.getpass("Password of %s for the web: " % name)
        _check(password)
        if getpass.getpass("Again: ") != password:
            raise Usage("the two passwords differ")
        return password
    line = sys.stdin.readline()
    if not line.strip():
        raise Usage("no password: run it at a terminal, which asks for one, or write one of at "
                    "least %d characters to standard input" % SHORTEST)
    password = line.removesuffix("\n")
    _check(password)
    return password


def _check(password):
    if len(password) < SHORTEST:
        raise Usage("a password has at least %d characters" % SHORTEST)
    if len(password) > LONGEST or not password.isprintable():
        raise Usage("a password has at most %d characters, and none that control" % LONGEST)


def store(path, name, password):
    """Gives a login its password; the others stay."""
    try:
        group = grp.getgrnam(WEB_GROUP).gr_gid
    except KeyError as problem:
        raise Failed("there is no group %s: the package is not installed" % WEB_GROUP) from problem
    # A scheme of crypt(3) that all the web servers know.
    hashed = output("openssl", "passwd", "-6", "-stdin", typed=password + "\n").strip()
    files.replace(path, with_login(files.content(path) or b"", name, hashed), 0o640, (0, group))


def with_login(data, name, hashed):
    """The file's bytes with one login's line replaced or added."""
    own = name.encode() + b":"
    lines = [line for line in data.splitlines() if line and not line.startswith(own)]
    return b"\n".join([*lines, own + hashed.encode(), b""])
