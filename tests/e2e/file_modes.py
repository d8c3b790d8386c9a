"""The files of the package, and all unix sockets that the machine's daemons listen on, have the
owners and modes of packaging/machine/file_modes."""
import grp
import os
import pwd
import re
import socket
import stat

MACHINE = os.path.join(os.path.dirname(__file__), "../../packaging/machine/")
ROOTS = ("/etc/default/mailvane", "/etc/logrotate.d/mailvane", "/var/packages", "/var/lib/mailvane",
         "/var/lib/mailvane-web", "/var/log/mailvane", "/run/mailvane")
ACCEPTS_CALLS = 1 << 16  # a flag of sockets in /proc/net/unix


def _rows():
    with open(MACHINE + "file_modes", encoding="ascii") as file:
        for line in file:
            if line.strip() and not line.startswith("#"):
                path, *wanted, _ = line.split(None, 4)
                parts = re.escape(path).replace(r"\*\*", ".+").replace(r"\*", "[^/]+")
                yield re.compile(parts), wanted


ROWS = list(_rows())


def difference(path, found):
    """What is wrong with the owner, group and mode that a file has; None when they are right."""
    for pattern, wanted in ROWS:
        if pattern.fullmatch(path):
            if all(want in ("-", got) for want, got in zip(wanted, found)):
                return None
            return "%s: is %s, wants %s" % (path, " ".join(found), " ".join(wanted))
    return path + ": no row"


def _look(path):
    info = os.lstat(path)
    mode = "link" if stat.S_ISLNK(info.st_mode) else "%04o" % stat.S_IMODE(info.st_mode)
    name = path + "/" if stat.S_ISDIR(info.st_mode) else path
    return difference(name, (pwd.getpwuid(info.st_uid).pw_name, grp.getgrgid(info.st_gid).gr_name,
                             mode))


def _files():
    for root in ROOTS:
        yield root
        for folder, below, files in os.walk(root):
            yield from (os.path.join(folder, name) for name in below + files)


def doors():
    """Paths of all unix sockets that take calls or datagrams. Postfix names them from its queue."""
    with open("/proc/net/unix", encoding="ascii") as file:
        rows = [line.split() for line in file][1:]
    for row in rows:
        flags, kind, path = int(row[3], 16), int(row[4], 16), row[-1] if len(row) > 7 else ""
        if path and (flags & ACCEPTS_CALLS or kind == socket.SOCK_DGRAM):
            yield path if path.startswith(("/", "@")) else "/var/spool/postfix/" + path


def _doors_with_their_folders():
    for path in set(doors()):
        if path.startswith("@"):
            yield path + ": no row, as it belongs to nobody"
        elif os.path.exists(path):
            yield from (_look(path), _look(os.path.dirname(path)))


def _made_at_boot():
    """What tmpfiles.d makes, as it says."""
    with open(MACHINE + "mailvane.tmpfiles", encoding="ascii") as file:
        for kind, path, mode, owner, group in (line.split()[:5] for line in file
                                               if line.startswith(("d ", "f "))):
            yield path + ("/" if kind == "d" else ""), (owner, group, mode)


def check():
    """Walks the machine, and fails with all that differs. For the end of a story."""
    wrong = [_look(path) for path in _files()]
    wrong += _doors_with_their_folders()
    wrong += [difference(path, found) for path, found in _made_at_boot()]
    wrong = sorted(set(filter(None, wrong)))
    if wrong:
        raise AssertionError("%d files differ:\n%s" % (len(wrong), "\n".join(wrong)))
