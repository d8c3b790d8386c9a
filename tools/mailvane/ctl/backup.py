"""mailvanectl backup FILE [--sign KEY]: writes the stored state to an archive, mode 0600.

In it are settings, domains and blocklists; aliases and lists; refused attachment types and rule
sets; the keys that sign mail and the certificate with its key; personal settings, the report's, web
logins, and local.d. It holds passwords and private keys: keep it as safe as the server. Not in it:
mail, the mail log, and lists of other accounts than those that are served.

All of it is of one moment: no change comes between. `mailvanectl restore` puts it in force.

KEY is the file of a private key, by which the archive is signed:
  openssl genpkey -algorithm ed25519 -out KEY; openssl pkey -in KEY -pubout -out PUBLIC"""
from __future__ import annotations

import contextlib
import fcntl
import os
import time
from collections.abc import Iterator

from mailvane.common import display, paths
from mailvane.common.audit import audited
from mailvane.common.errors import Refused, Usage
from mailvane.ctl import answers, archive, stored_files, upkeep
from mailvane.ctl.session import Session

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import IO


OPTIONS = {"--sign"}

RULES_IN_FORCE = paths.CURRENT + "/amavis/" + stored_files.RULES
PENDING = paths.GENERATED + "/pending"
PATIENCE, PAUSE = 30, 0.05  # seconds


def run(session: Session, words: list[str]) -> int:
    """Writes the archive."""
    upkeep.require_root()
    if len(words) != 1:
        raise Usage("backup to one file")
    with audited("backup"):
        with _undisturbed():
            state = _stored_state()
        state.version = session.version()
        archive.write(words[0], state, session.values.get("--sign"))
    print("%d files, %s" % (len(state.files),
                            display.size_text(sum(map(len, state.files.values())))))
    return answers.DONE


def _undisturbed() -> IO[bytes]:
    """Takes the request lock while no save is left unfinished."""
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        file = open(paths.ETC + "/lock", "r+b")
        try:
            fcntl.lockf(file, fcntl.LOCK_EX | fcntl.LOCK_NB, 1, 0)
        except OSError:
            file.close()
            time.sleep(PAUSE)
            continue
        if not os.path.exists(PENDING):
            return file
        file.close()
        upkeep.configure("recover")
    raise Refused("another change takes too long")


def _stored_state() -> archive.State:
    files = {name: _bytes(name) for name in stored_files.PLAIN if os.path.exists(_path(name))}
    files.update((name, _database(name)) for name in stored_files.DATABASES)
    with open(RULES_IN_FORCE, "rb") as rules:
        files[stored_files.RULES] = rules.read()
    for folder in stored_files.FOLDERS:
        for name in _names_below(folder):
            if stored_files.mode_of(name) is None or not os.path.isfile(_path(name)):
                answers.complain("%s is left out" % display.plain(name))
            else:
                files[name] = _bytes(name)
    pair = _path("dkim.key/pair")
    signing = os.path.basename(os.readlink(pair)) if os.path.islink(pair) else ""
    if "dkim.key/%s/dkim.private" % signing not in files:
        signing = ""
    return archive.State(files, signing, int(time.time()))


def _path(name: str) -> str:
    return paths.ETC + "/" + name


def _bytes(name: str) -> bytes:
    with open(_path(name), "rb") as file:
        return file.read()


def _names_below(folder: str) -> Iterator[str]:
    """Names of the files in a folder. Key pairs are in subfolders, and links name the one that
    signs."""
    if not os.path.isdir(_path(folder)):
        return
    for name in sorted(os.listdir(_path(folder))):
        full = folder + "/" + name
        if stored_files.PAIR.fullmatch(name) and folder == "dkim.key":
            yield from (full + "/" + half for half in sorted(os.listdir(_path(full))))
        elif not (folder == "dkim.key" and os.path.islink(_path(full))):
            yield full


def _database(name: str) -> bytes:
    """A database as one consistent file."""
    import sqlite3
    here = "file:%s?mode=rw" % _path(name)  # does not create a missing file
    try:
        with contextlib.closing(sqlite3.connect(here, uri=True)) as source, \
                contextlib.closing(sqlite3.connect(":memory:")) as copy:
            source.backup(copy)
            return copy.serialize()
    except sqlite3.Error as problem:
        raise Refused("%s: %s" % (name, problem)) from problem
