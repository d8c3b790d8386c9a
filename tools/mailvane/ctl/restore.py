"""mailvanectl restore FILE: puts the state in an archive of `mailvanectl backup` in force.

The archive is checked first: nothing but files of known names, each with the size and the hash that
its manifest says. Then everything is put in force as a save is: rendered, judged, and the services
brought to it. When anything is refused or fails, the state before is in force; after a kill the next
change completes it or takes it back. What a restore replaced is kept in etc/replaced until the next
one."""
import contextlib
import os
import shutil
import tempfile
import time
from collections.abc import Iterator

from mailvane.common import display, paths, settings
from mailvane.common.audit import audited
from mailvane.common.errors import Refused, Usage
from mailvane.ctl import answers, archive, stored_files, upkeep
from mailvane.ctl.archive import State
from mailvane.ctl.session import Session
from mailvane.ctl.web_server import WebServer


WEB_LOGINS = "htpasswd"
PREFIX = "staged-"
LEFT_BEHIND = 3600  # seconds


def run(_session: Session, words: list[str]) -> int:
    """Restores the state."""
    upkeep.require_root()
    if len(words) != 1:
        raise Usage("restore one file")
    changes = ["lists", "keys", "user data"]
    with audited("restore", changes):
        state = archive.read(words[0])
        with staging() as folder:
            stage(folder, state)
            changes += settings.changed(paths.ETC, folder)
            upkeep.configure("restore", folder)
    try:
        WebServer().renew()
    except Refused as problem:
        answers.complain("restored, but %s; the system log says why" % problem)
    print("restored the state of " + display.date_text(state.made))
    return answers.DONE


@contextlib.contextmanager
def staging() -> Iterator[str]:
    """A folder in etc/ that only root can enter; what is left of it is removed at the end."""
    _sweep()
    folder = tempfile.mkdtemp(prefix=PREFIX, dir=paths.ETC)
    try:
        yield folder
    finally:
        shutil.rmtree(folder, ignore_errors=True)


def _sweep() -> None:
    """Removes folders left by killed processes."""
    for entry in os.scandir(paths.ETC):
        if entry.name.startswith(PREFIX) and entry.stat().st_mtime < time.time() - LEFT_BEHIND:
            shutil.rmtree(entry.path, ignore_errors=True)


def stage(folder: str, state: State) -> None:
    """Writes the files of a state with the owners and modes that they are to have."""
    os.umask(0o077)
    for name, mode in stored_files.FOLDERS.items():
        os.mkdir(os.path.join(folder, name))
        os.chmod(os.path.join(folder, name), mode)
    for name, data in state.files.items():
        path = os.path.join(folder, name)
        os.makedirs(os.path.dirname(path), mode=0o700, exist_ok=True)
        put(path, data, stored_files.mode_of(name) or 0o600)
    if WEB_LOGINS in state.files:
        shutil.chown(os.path.join(folder, WEB_LOGINS), group="mailvane-web")
    if state.pair:
        keys = os.path.join(folder, "dkim.key")
        os.symlink(state.pair, keys + "/pair")
        for half in ("dkim.private", "dkim.public"):
            os.symlink("pair/" + half, keys + "/" + half)
    os.sync()


def put(path: str, data: bytes, mode: int) -> None:
    """Writes a new file."""
    descriptor = os.open(path, os.O_WRONLY | os.O_CREAT | os.O_EXCL | os.O_CLOEXEC, 0o600)
    with os.fdopen(descriptor, "wb") as file:
        os.fchmod(descriptor, mode)
        file.write(data)
