"""Mail users in /etc/passwd: listing them, and removing one with Debian's own tools."""
import os
import pwd
import shutil
import stat
import time

from mailvane.common import accounts, display, files, paths, programs
from mailvane.common.errors import Refused

DOVECOT = paths.CURRENT + "/dovecot/dovecot.conf"
IN_USE = 8  # exit status of userdel while a process of the user runs
PATIENCE, PAUSE = 10, 0.1  # seconds


def every() -> list[pwd.struct_passwd]:
    """The mail users in /etc/passwd, by name."""
    found = []
    for line in files.lines_of("/etc/passwd"):
        fields = line.split(":")
        if len(fields) == 7 and fields[2].isdigit() and fields[3].isdigit():
            account = pwd.struct_passwd([*fields[:2], int(fields[2]), int(fields[3]), *fields[4:]])
            if accounts.serves(account):
                found.append(account)
    return sorted(found)


def named(name: str) -> pwd.struct_passwd:
    """A mail user in /etc/passwd; Refused for any other name."""
    for account in every():
        if account.pw_name == name:
            return account
    raise Refused("there is no mail user %s among this machine's accounts" % display.plain(name))


def remove(account: pwd.struct_passwd, with_mailbox: bool) -> None:
    """Removes an account and disconnects its mail programs. Its home is deleted or given to root,
    since a new account may get the same user id."""
    name = account.pw_name
    programs.checked(["/usr/sbin/usermod", "--lock", "--", name])  # so that it cannot log in again
    programs.run(["/usr/bin/doveadm", "-c", DOVECOT, "kick", name])
    try:
        _delete(name)
    except Refused:
        programs.run(["/usr/sbin/usermod", "--unlock", "--", name])
        raise
    if not _is_home(account):
        return
    if with_mailbox:
        shutil.rmtree(account.pw_dir)
    else:
        os.chmod(account.pw_dir, 0o700)
        os.chown(account.pw_dir, 0, 0)


def _delete(name: str) -> None:
    end = time.monotonic() + PATIENCE
    while True:
        status, _, errors = programs.run(["/usr/sbin/userdel", "--", name])
        if status == 0:
            return
        if status != IN_USE or time.monotonic() > end:
            raise Refused(display.last_line(errors) or "userdel failed")
        time.sleep(PAUSE)


def _is_home(account: pwd.struct_passwd) -> bool:
    """Whether a home belongs to this user alone, so that it may be deleted."""
    path = account.pw_dir.rstrip("/")
    try:
        info, above = os.lstat(path), os.lstat(os.path.dirname(path))
    except OSError:
        return False
    others = [other.pw_dir for other in pwd.getpwall() if other.pw_name != account.pw_name]
    return path.count("/") > 1 and stat.S_ISDIR(info.st_mode) and \
        info.st_uid == account.pw_uid and above.st_uid == 0 and \
        not any((other.rstrip("/") + "/").startswith(path + "/") for other in others)
