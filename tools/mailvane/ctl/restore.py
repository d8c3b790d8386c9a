"""mailvanectl restore FILE [--with-local] [--require-signature KEY]: puts the state in an archive of
`mailvanectl backup` in force.

The archive is checked first: nothing but files of known names, each with the size and the hash that
its manifest says, and nothing in them that the pages would not have stored. With the file of a public
key, it must be signed by the private one. What it brings is told. The fragments in local.d can have
the services run any program as root: those here stay, unless --with-local brings the archive's, which
are shown whole. Then everything is put in force as a save is: rendered, judged, and the services
brought to it. When anything is refused or fails, the state before is in force; after a kill the next
change completes it or takes it back. What a restore replaced is kept in etc/replaced until the next
one."""
import contextlib
import os
import re
import shutil
import sys
import tempfile
import time
from collections.abc import Iterator

from mailvane.common import display, paths, settings
from mailvane.common.audit import audited
from mailvane.common.errors import Refused, Usage
from mailvane.ctl import answers, archive, stored_files, upkeep
from mailvane.ctl.archive import State
from mailvane.ctl.session import Session
from mailvane.common.web_server import WebServer

OPTIONS = {"--with-local", "--require-signature"}

WEB_LOGINS = "htpasswd"
LOGIN = re.compile(r"([^:\x00-\x1f\x7f]{1,64}):\$[0-9a-z]{1,8}\$[A-Za-z0-9./$=,+-]{8,512}")
FRAGMENTS = "local.d"
PREFIX = "staged-"
LEFT_BEHIND = 3600  # seconds


def run(session: Session, words: list[str]) -> int:
    """Restores the state."""
    upkeep.require_root()
    if len(words) != 1:
        raise Usage("restore one file")
    changes = ["lists", "keys", "user data"]
    with audited("restore", changes):
        state = archive.read(words[0], session.values.get("--require-signature"))
        _check_logins(state)
        with_local = "--with-local" in session.flags
        with staging() as folder:
            stage(folder, state, with_local)
            changed = settings.changed(paths.ETC, folder)
            _tell(state, changed, with_local)
            changes += changed
            upkeep.configure("restore", folder)
    try:
        WebServer().renew()
    except Refused as problem:
        answers.complain("restored, but %s; the system log says why" % problem)
    print("restored the state of " + display.date_text(state.made))
    return answers.DONE


def _logins(state: State) -> list[str]:
    """Lines of the web logins."""
    return state.files.get(WEB_LOGINS, b"").decode(errors="replace").splitlines()


def _check_logins(state: State) -> None:
    """Refuses lines that are not a name and a salted hash, as this package and htpasswd write them."""
    for number, line in enumerate(_logins(state), 1):
        if not LOGIN.fullmatch(line):
            raise Refused("line %d of the web logins is no name with a hash" % number)


def _tell(state: State, changed: list[str], with_local: bool) -> None:
    """Prints what the restore will change."""
    def below(folder: str) -> list[str]:
        return sorted(name[len(folder) + 1:] for name in state.files
                      if name.startswith(folder + "/"))

    rows = [
        ("archive", ["of " + display.date_text(state.made), state.signature]),
        ("settings that change", changed),
        ("spam rule sets", below("rules")),
        ("key pair that signs", [state.pair] if state.pair else []),
        ("certificate", below("tls")),
        ("personal settings", [name.removesuffix(".json") for name in below("personal")]),
        ("web logins", [line.partition(":")[0] for line in _logins(state)]),
        ("local.d" if with_local else "local.d, left out", below(FRAGMENTS)),
    ]
    for name, values in rows:
        print("%-22s%s" % (name + ":", display.plain(", ".join(values) or "none")))
    for name in below(FRAGMENTS) if with_local else []:
        print("--- %s/%s" % (FRAGMENTS, display.plain(name)))
        text = state.files[FRAGMENTS + "/" + name].decode(errors="replace")
        print("\n".join(display.plain(line) for line in text.splitlines()))
    sys.stdout.flush()


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


def stage(folder: str, state: State, with_local: bool) -> None:
    """Writes the files of a state with the owners and modes that they are to have."""
    os.umask(0o077)
    left_out = "" if with_local else FRAGMENTS
    for name, mode in stored_files.FOLDERS.items():
        if name != left_out:
            os.mkdir(os.path.join(folder, name))
            os.chmod(os.path.join(folder, name), mode)
    for name, data in state.files.items():
        if name.partition("/")[0] == left_out:
            continue
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
