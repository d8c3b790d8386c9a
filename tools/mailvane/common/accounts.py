"""Accounts that can have mail: which these are, and how one is made with Debian's own tools."""
import os
import pwd
import re

from mailvane.common.display import plain
from mailvane.common.errors import Refused
from mailvane.common.programs import checked

LOWEST, HIGHEST = 1000, 65533  # user ids that the mail server serves
NAME = re.compile(r"[a-z_][a-z0-9_-]{0,31}")  # a Debian login that can be an address
SHELL = "/usr/sbin/nologin"


def is_mail_user(name: str) -> bool:
    """Whether the name service knows this name as one of the mail server's users."""
    account = find(name)
    return account is not None and serves(account)


def serves(account: pwd.struct_passwd) -> bool:
    """Whether an account is one of the mail server's users."""
    return LOWEST <= account.pw_uid <= HIGHEST


def find(name: str) -> pwd.struct_passwd | None:
    """The account of a name; None when there is none."""
    try:
        return pwd.getpwnam(name)
    except (KeyError, ValueError):
        return None


def add(name: str, password: str) -> None:
    """Makes an account that can have and read mail, but has no shell."""
    if not NAME.fullmatch(name):
        raise Refused("%s is no name for a mail user: at most 32 small letters, digits, _ and -, "
                      "the first a letter or _" % plain(name))
    if find(name):
        raise Refused("there is an account %s already" % name)
    # A directory that is already there stays the old owner's; the new user must not get its mail.
    home = "/home/" + name
    if os.path.lexists(home):
        raise Refused("%s is there already: move it away first" % home)
    checked(["/usr/sbin/useradd", "--create-home", "--home-dir", home, "--key", "HOME_MODE=0700",
             "--key", "UID_MIN=%d" % LOWEST, "--key", "UID_MAX=%d" % HIGHEST,
             "--shell", SHELL, "--", name])
    try:
        set_password(name, password)
    except Refused:
        checked(["/usr/sbin/userdel", "--remove", "--", name])
        raise


def set_password(name: str, password: str) -> None:
    """Sets the password of an account, without showing it on a command line."""
    checked(["/usr/sbin/chpasswd"], "%s:%s\n" % (name, password))
