"""Copies of the machine's mail configuration, and which files have changed since."""
import os
import shutil

from mailvane.common import files

FOLDERS = ("/etc/postfix", "/etc/dovecot")
FILES = ("/etc/aliases", "/etc/aliases.db", "/etc/mailname")


def keep(folder: str, tables: list[str]) -> dict[str, dict]:
    """Copies the configuration, and tables outside of it; returns a record of each file, by path.
    """
    os.makedirs(folder, 0o700, exist_ok=True)
    kept: dict[str, dict] = {}
    for path in _paths(tables):
        copy = folder + path
        os.makedirs(os.path.dirname(copy), 0o700, exist_ok=True)
        status = os.lstat(path)
        if os.path.islink(path):
            files.remove(copy)
            os.symlink(os.readlink(path), copy)
            kept[path] = {"link": os.readlink(path)}
        elif os.path.isfile(path):
            shutil.copy2(path, copy)
            kept[path] = {"sha256": files.digest(path), "mode": "%o" % (status.st_mode & 0o7777),
                          "uid": status.st_uid, "gid": status.st_gid}
    return kept


def changed(kept: dict[str, dict]) -> list[str]:
    """Paths of the files that have changed since."""
    return [path for path, was in kept.items()
            if (_link(path) != was["link"] if "link" in was else
                files.digest(path) != was["sha256"])]


def _paths(tables: list[str]) -> list[str]:
    found = [path for path in (*FILES, *tables) if os.path.lexists(path)]
    for top in FOLDERS:
        for folder, _, names in os.walk(top):
            found += [os.path.join(folder, name) for name in names]
    return sorted(set(found))


def _link(path: str) -> str | None:
    return os.readlink(path) if os.path.islink(path) else None
