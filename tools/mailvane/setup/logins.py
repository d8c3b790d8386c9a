"""Web logins: the file with names and password hashes for the web server."""
import ctypes
import grp

from mailvane.common import files
from mailvane.setup.run import Failed

WEB_GROUP = "mailvane-web"
LIBRARY = "libcrypt.so.1"
SCHEME, COST = b"$y$", 1  # as upkeep/users/passwords.cpp, which changes the same file


def store(path: str, name: str, password: str) -> None:
    """Sets the password of a login; other logins are kept."""
    try:
        group = grp.getgrnam(WEB_GROUP).gr_gid
    except KeyError as problem:
        raise Failed("there is no group %s: the package is not installed" % WEB_GROUP) from problem
    lines = with_login(files.content(path) or b"", name, _hash_of(password))
    files.replace(path, lines, 0o640, (0, group))


def with_login(data: bytes, name: str, hashed: str) -> bytes:
    """The bytes of the file with the line of one login replaced or added."""
    own = name.encode() + b":"
    lines = [line for line in data.splitlines() if line and not line.startswith(own)]
    return b"\n".join([*lines, own + hashed.encode(), b""])


def _hash_of(password: str) -> str:
    """The hash of a password, by crypt(3)."""
    library = ctypes.CDLL(LIBRARY)
    library.crypt_gensalt.argtypes = (ctypes.c_char_p, ctypes.c_ulong, ctypes.c_char_p, ctypes.c_int)
    library.crypt_gensalt.restype = library.crypt.restype = ctypes.c_char_p
    library.crypt.argtypes = (ctypes.c_char_p, ctypes.c_char_p)
    hashed = library.crypt(password.encode(), library.crypt_gensalt(SCHEME, COST, None, 0))
    if not hashed or not hashed.startswith(SCHEME):
        raise Failed("%s makes no hash of a password" % LIBRARY)
    return bytes(hashed).decode("ascii")
