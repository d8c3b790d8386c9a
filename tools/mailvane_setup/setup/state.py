"""What is remembered of a machine that was taken over: etc/adopted/manifest.json. The control
scripts take the folder itself for the sign that the mail services are ours."""
import json
import os
import shutil

from setup import files

ADOPTING, ADOPTED, REMOVING = "adopting", "adopted", "removing"


class State:
    """The manifest in a package's etc/adopted; empty when nothing was taken over."""

    def __init__(self, folder):
        self.folder = folder
        self.originals = folder + "/originals"
        self._path = folder + "/manifest.json"
        self.values = json.loads(files.content(self._path) or "{}")

    def phase(self):
        """ADOPTING or REMOVING when that was cut short, ADOPTED, or "" for neither."""
        return self.values.get("state", "")

    def exists(self):
        """Whether anything was begun."""
        return os.path.isdir(self.folder)

    def store(self, **values):
        """Remembers values, and that before it returns."""
        self.values.update(values)
        if not os.path.isdir(self.folder):
            os.mkdir(self.folder, 0o700)
            files.sync_folder(os.path.dirname(self.folder))
        text = json.dumps(self.values, indent=1, sort_keys=True)
        files.replace(self._path, text.encode(), 0o600)

    def forget(self, keep_originals):
        """Ends it; with the originals put aside, gives the folder where they are then."""
        kept = ""
        if keep_originals and os.path.isdir(self.originals):
            kept = _free_name(os.path.dirname(self.folder) + "/originals")
            os.rename(self.originals, kept)
        shutil.rmtree(self.folder, ignore_errors=True)
        files.sync_folder(os.path.dirname(self.folder))
        self.values = {}
        return kept


def _free_name(wanted):
    name, number = wanted, 1
    while os.path.lexists(name):
        number += 1
        name = "%s-%d" % (wanted, number)
    return name
