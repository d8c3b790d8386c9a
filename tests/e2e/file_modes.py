"""The files of the package have the owners and modes of packaging/machine/file_modes."""
import grp
import os
import pwd
import re
import stat

MACHINE = os.path.join(os.path.dirname(__file__), "../../packaging/machine/")
ROOTS = ("/etc/default/mailvane", "/etc/logrotate.d/mailvane", "/var/packages", "/var/lib/mailvane",
         "/var/lib/mailvane-web", "/var/log/mailvane", "/run/mailvane")


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


def _made_at_boot():
    """What tmpfiles.d makes, as it says."""
    with open(MACHINE + "mailvane.tmpfiles", encoding="ascii") as file:
        for kind, path, mode, owner, group in (line.split()[:5] for line in file
                                               if line.startswith(("d ", "f "))):
            yield path + ("/" if kind == "d" else ""), (owner, group, mode)


def check():
    """Walks the machine, and fails with all that differs. For the end of a story."""
    wrong = [_look(path) for path in _files()]
    wrong += [difference(path, found) for path, found in _made_at_boot()]
    wrong = sorted(filter(None, wrong))
    if wrong:
        raise AssertionError("%d files differ:\n%s" % (len(wrong), "\n".join(wrong)))
