"""Web logins: the file with names and password hashes for the web server."""
import grp

from mailvane.common import files
from mailvane.setup.run import Failed, output

WEB_GROUP = "mailvane-web"


def store(path: str, name: str, password: str) -> None:
    """Sets the password of a login; other logins are kept."""
    try:
        group = grp.getgrnam(WEB_GROUP).gr_gid
    except KeyError as problem:
        raise Failed("there is no group %s: the package is not installed" % WEB_GROUP) from problem
    # A scheme of crypt(3) that all supported web servers know.
    hashed = output("openssl", "passwd", "-6", "-stdin", typed=password + "\n").strip()
    files.replace(path, with_login(files.content(path) or b"", name, hashed), 0o640, (0, group))


def with_login(data: bytes, name: str, hashed: str) -> bytes:
    """The bytes of the file with the line of one login replaced or added."""
    own = name.encode() + b":"
    lines = [line for line in data.splitlines() if line and not line.startswith(own)]
    return b"\n".join([*lines, own + hashed.encode(), b""])
