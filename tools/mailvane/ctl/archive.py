"""The archive of a backup: a tar file whose first member is a manifest with format, version, and
size and hash of every file. In a signed one the signature of the manifest follows. Only regular
files with known names are written and read."""
from __future__ import annotations

import hashlib
import io
import json
import os
import tarfile

from mailvane.common.errors import Refused
from mailvane.common.files import sync_folder
from mailvane.ctl import signature, stored_files

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import IO

FORMAT = 1
MANIFEST, SIGNATURE = "manifest.json", "manifest.sig"
LARGEST_FILE, LARGEST_SUM, MOST_FILES = 64 << 20, 512 << 20, 200000  # bytes, bytes, number


class State:
    """The stored state: contents of files by name, and the name of the key pair that signs."""

    def __init__(self, files: dict[str, bytes], pair: str = "", made: int = 0,
                 version: str = "") -> None:
        self.files = files
        self.pair = pair
        self.made = made
        self.version = version
        self.signed = False


def write(path: str, state: State, key: str | None = None) -> None:
    """Writes an archive atomically, replacing an existing file. Signs it with the private key in the
    file `key`, if given."""
    new = "%s.%d" % (path, os.getpid())
    try:
        descriptor = os.open(new, os.O_WRONLY | os.O_CREAT | os.O_EXCL | os.O_CLOEXEC, 0o600)
        try:
            with os.fdopen(descriptor, "wb") as file:
                os.fchmod(file.fileno(), 0o600)
                _put(file, state, key)
                file.flush()
                os.fsync(file.fileno())
            os.rename(new, path)
        except BaseException:
            os.unlink(new)
            raise
        sync_folder(os.path.dirname(os.path.abspath(path)))
    except OSError as problem:
        raise Refused("%s: %s" % (path, problem.strerror)) from problem


def _put(file: IO[bytes], state: State, key: str | None) -> None:
    manifest = json.dumps({
        "format": FORMAT, "program": "mailvane", "version": state.version, "made": state.made,
        "signing_pair": state.pair,
        "files": {name: _print_of(data) for name, data in state.files.items()},
    }, indent=1).encode()
    with tarfile.open(fileobj=file, mode="w", format=tarfile.PAX_FORMAT) as tar:
        _add(tar, MANIFEST, manifest, 0o600, state.made)
        if key is not None:
            _add(tar, SIGNATURE, signature.sign(manifest, key), 0o600, state.made)
        for name, data in sorted(state.files.items()):
            _add(tar, name, data, stored_files.mode_of(name) or 0o600, state.made)


def _print_of(data: bytes) -> dict[str, object]:
    return {"size": len(data), "sha256": hashlib.sha256(data).hexdigest()}


def _add(tar: tarfile.TarFile, name: str, data: bytes, mode: int, made: int) -> None:
    about = tarfile.TarInfo(name)
    about.size, about.mode, about.mtime = len(data), mode, made
    tar.addfile(about, io.BytesIO(data))


def read(path: str, key: str | None = None) -> State:
    """Reads the state from an archive; Refused unless everything is as in the manifest and, if `key`
    (the file of a public key) is given, the manifest is signed by its pair."""
    try:
        with tarfile.open(path, "r:") as tar:
            return _state(tar, key)
    except OSError as problem:
        raise Refused("%s: %s" % (path, problem.strerror)) from problem
    except (tarfile.TarError, EOFError, ValueError) as problem:
        raise Refused("%s is no whole archive" % path) from problem


def _state(tar: tarfile.TarFile, key: str | None) -> State:
    text, signed, about = _beginning(tar)
    if key is not None:
        signature.check(text, signed, key)
    manifest = _manifest(text)
    listed, files, size = manifest["files"], {}, 0
    while about is not None:
        name = about.name
        if name in files or name not in listed or stored_files.mode_of(name) is None:
            raise Refused("the archive holds %r, which is none of its files" % name[:100])
        files[name] = _data(tar, about)
        if _print_of(files[name]) != listed[name]:
            raise Refused("%s is not what the manifest says" % name)
        size += len(files[name])
        if size > LARGEST_SUM or len(files) > MOST_FILES:
            raise Refused("the archive is too large")
        about = tar.next()
    missing = listed.keys() - files.keys()
    if missing:
        raise Refused("the archive lacks %r" % min(missing)[:100])
    pair = manifest["signing_pair"]
    if pair and (not stored_files.PAIR.fullmatch(pair) or
                 "dkim.key/%s/dkim.private" % pair not in files):
        raise Refused("the archive lacks the key pair that signs")
    state = State(files, pair, manifest["made"], manifest["version"])
    state.signed = bool(signed)
    return state


def _beginning(tar: tarfile.TarFile) -> tuple[bytes, bytes, tarfile.TarInfo | None]:
    """The text of the manifest, its signature (empty if not signed) and the next member."""
    about = tar.next()
    if about is None or about.name != MANIFEST:
        raise Refused("it is no archive of mailvane")
    text, signed = _data(tar, about), b""
    about = tar.next()
    if about is not None and about.name == SIGNATURE:
        if about.size > signature.LARGEST:
            raise Refused("%r is too large" % SIGNATURE)
        signed = _data(tar, about)
        about = tar.next()
    return text, signed, about


def _manifest(text: bytes) -> dict:
    manifest = json.loads(text)
    kinds = {"format": int, "program": str, "version": str, "made": int, "signing_pair": str,
             "files": dict}
    if not isinstance(manifest, dict) or manifest.get("program") != "mailvane" or not all(
            isinstance(manifest.get(name), kind) for name, kind in kinds.items()):
        raise Refused("it is no archive of mailvane")
    if manifest["format"] != FORMAT:
        raise Refused("the archive has format %d; this program knows %d" %
                      (manifest["format"], FORMAT))
    return manifest


def _data(tar: tarfile.TarFile, about: tarfile.TarInfo) -> bytes:
    """The contents of a member. Refused unless it is a regular file: no link, device or sparse
    file."""
    if about.type != tarfile.REGTYPE or about.issparse():
        raise Refused("%r is no regular file" % about.name[:100])
    if about.size > LARGEST_FILE:
        raise Refused("%r is too large" % about.name[:100])
    stream = tar.extractfile(about)
    data = stream.read() if stream else b""
    if len(data) != about.size:
        raise Refused("the archive is cut short")
    return data
