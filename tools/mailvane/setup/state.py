"""The state of the hand-over: etc/adopted/manifest.json. The existence of the folder tells the
control scripts that the package controls the machine's mail services."""
import json
import os
import shutil

from mailvane.common import files
from mailvane.common.files import sync_folder

ADOPTING, ADOPTED, REMOVING = "adopting", "adopted", "removing"


class State:
    """The manifest in etc/adopted; empty when nothing was handed over."""

    def __init__(self, folder: str) -> None:
        self.folder = folder
        self.originals = folder + "/originals"
        self._path = folder + "/manifest.json"
        self.values = json.loads(files.content(self._path) or "{}")

    def phase(self) -> str:
        """ADOPTING or REMOVING when interrupted in that, ADOPTED, or "" when not handed over."""
        return self.values.get("state", "")

    def exists(self) -> bool:
        """Whether a hand-over was begun."""
        return os.path.isdir(self.folder)

    def store(self, **values: object) -> None:
        """Adds values and writes them to disk."""
        self.values.update(values)
        text = json.dumps(self.values, indent=1, sort_keys=True).encode()
        if self.exists():
            files.replace(self._path, text, 0o600)
            return
        # The folder appears together with its manifest, since its existence stops the machine's own
        # services.
        new = self.folder + ".new"
        shutil.rmtree(new, ignore_errors=True)
        os.mkdir(new, 0o700)
        files.replace(new + "/manifest.json", text, 0o600)
        self._rename(new, self.folder)

    def forget(self, keep_originals: bool) -> str:
        """Removes the state. With `keep_originals`, moves the originals aside and returns their
        folder."""
        kept = ""
        if keep_originals and os.path.isdir(self.originals):
            kept = _free_name(os.path.dirname(self.folder) + "/originals")
            self._rename(self.originals, kept)
        old = self.folder + ".old"
        shutil.rmtree(old, ignore_errors=True)
        self._rename(self.folder, old)
        shutil.rmtree(old, ignore_errors=True)
        self.values = {}
        return kept

    def _rename(self, before: str, after: str) -> None:
        os.rename(before, after)
        sync_folder(os.path.dirname(self.folder))


def _free_name(wanted: str) -> str:
    name, number = wanted, 1
    while os.path.lexists(name):
        number += 1
        name = "%s-%d" % (wanted, number)
    return name
