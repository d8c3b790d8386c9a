"""The machine's mail users: which accounts they are, and how they are made and removed, by Debian's
own tools."""
import os
import pwd
import re
import shutil
import stat
import time

from mailvane.ctl import upkeep
from mailvane.ctl.answers import Refused

LOWEST, HIGHEST = 1000, 65533  # the user numbers that the mail server serves
NAME = re.compile(r"[a-z_][a-z0-9_-]{0,31}")  # a login of Debian that is an address as it stands
SHELL = "/usr/sbin/nologin"
SHORTEST, LONGEST = 10, 128  # characters of a password
DOVECOT = upkeep.CURRENT + "/dovecot/dovecot.conf"
IN_USE = 8  # how userdel ends while a process of the user runs
PATIENCE, PAUSE = 10, 0.1  # seconds


def is_mail_user(name: str) -> bool:
    """Whether the name service, whatever is behind it, knows a user whom the mail server serves."""
    account = find(name)
    return account is not None and serves(account)


def serves(account: pwd.struct_passwd) -> bool:
    """Whether an account is one of the mail server's users."""
    return LOWEST <= account.pw_uid <= HIGHEST


def find(name: str) -> pwd.struct_passwd | None:
    """An account by its name."""
    try:
        return pwd.getpwnam(name)
    except (KeyError, ValueError):
        return None


def local() -> list[pwd.struct_passwd]:
    """The mail users in the machine's own file, by name."""
    found = []
    for line in upkeep.lines_of("/etc/passwd"):
        fields = line.split(":")
        if len(fields) == 7 and fields[2].isdigit() and fields[3].isdigit():
            account = pwd.struct_passwd([*fields[:2], int(fields[2]), int(fields[3]), *fields[4:]])
            if serves(account):
                found.append(account)
    return sorted(found)


def local_user(name: str) -> pwd.struct_passwd:
    """A mail user of the machine's own file; Refused for anybody else."""
    for account in local():
        if account.pw_name == name:
            return account
    raise Refused("there is no mail user %s among this machine's accounts" % upkeep.plain(name))


def add(name: str, password: str) -> None:
    """Makes an account that gets mail and reads it, but has no shell."""
    if not NAME.fullmatch(name):
        raise Refused("%s is no name for a mail user: at most 32 small letters, digits, _ and -, "
                      "the first a letter or _" % upkeep.plain(name))
    if find(name):
        raise Refused("there is an account %s already" % name)
    # Nothing that lies there may become the new user's: a mailbox that was kept is its owner's.
    home = "/home/" + name
    if os.path.lexists(home):
        raise Refused("%s is there already: move it away first" % home)
    upkeep.checked(["/usr/sbin/useradd", "--create-home", "--home-dir", home,
                    "--key", "HOME_MODE=0700",
                    "--key", "UID_MIN=%d" % LOWEST, "--key", "UID_MAX=%d" % HIGHEST,
                    "--shell", SHELL, "--", name])
    try:
        set_password(name, password)
    except Refused:
        upkeep.checked(["/usr/sbin/userdel", "--remove", "--", name])
        raise


def set_password(name: str, password: str) -> None:
    """Gives an account a password, which no command line sees."""
    upkeep.checked(["/usr/sbin/chpasswd"], "%s:%s\n" % (name, password))


def password_fault(password: str) -> str:
    """What is wrong with a password; empty when nothing is."""
    if len(password) < SHORTEST:
        return "a password has at least %d characters" % SHORTEST
    if len(password) > LONGEST or not password.isprintable():
        return "a password has at most %d characters, and none that control" % LONGEST
    return ""


def remove(account: pwd.struct_passwd, with_mailbox: bool) -> None:
    """Removes an account, whose mail programs are disconnected. Its home goes, or stays as root's:
    the next account may get the same number."""
    name = account.pw_name
    upkeep.checked(["/usr/sbin/usermod", "--lock", "--", name])  # so that none comes back
    upkeep.run(["/usr/bin/doveadm", "-c", DOVECOT, "kick", name])
    try:
        _delete(name)
    except Refused:
        upkeep.run(["/usr/sbin/usermod", "--unlock", "--", name])
        raise
    if not _is_home(account):
        return
    if with_mailbox:
        shutil.rmtree(account.pw_dir)
    else:
        os.chmod(account.pw_dir, 0o700)
        os.chown(account.pw_dir, 0, 0)


def _delete(name):
    end = time.monotonic() + PATIENCE
    while True:
        status, _, errors = upkeep.run(["/usr/sbin/userdel", "--", name])
        if status == 0:
            return
        if status != IN_USE or time.monotonic() > end:
            raise Refused(upkeep.last_line(errors) or "userdel failed")
        time.sleep(PAUSE)


def _is_home(account):
    """Whether a home is this user's own and nobody else's, so that it may be deleted."""
    path = account.pw_dir.rstrip("/")
    try:
        info, above = os.lstat(path), os.lstat(os.path.dirname(path))
    except OSError:
        return False
    others = [other.pw_dir for other in pwd.getpwall() if other.pw_name != account.pw_name]
    return path.count("/") > 1 and stat.S_ISDIR(info.st_mode) and \
        info.st_uid == account.pw_uid and above.st_uid == 0 and \
        not any((other.rstrip("/") + "/").startswith(path + "/") for other in others)
