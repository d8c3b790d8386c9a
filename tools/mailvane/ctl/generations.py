"""mailvanectl generations [--json]: the states of the settings that are kept.

Each change of settings or lists makes one; five are kept. Of each: its number, when it was made,
the settings that differ from the one before by their names, and what else was made anew.
`mailvanectl rollback` brings its settings back."""
import os

from mailvane.common import display, paths
from mailvane.common.errors import Usage
from mailvane.common.files import lines_of
from mailvane.common.settings import changed
from mailvane.ctl import answers, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--json"}

PREFIX = "gen-"


def run(session: Session, words: list[str]) -> int:
    """Prints the generations."""
    upkeep.require_root()
    if words:
        raise Usage("generations takes no words")
    found = kept()
    if "--json" in session.flags:
        display.print_json(found)
        return answers.DONE
    display.print_table(
        ("N", "DATE", "", "CHANGED"),
        [(one["number"], display.date_text(one["date"]), "in force" if one["in_force"] else "",
          ", ".join(one["settings"] or ["(%s)" % name for name in one["files"]]))
         for one in found])
    return answers.DONE


def kept() -> list[dict]:
    """All complete generations, oldest first."""
    names = sorted(name for name in os.listdir(paths.GENERATED) if name.startswith(PREFIX))
    names = [name for name in names if os.path.exists(folder_of(name) + "/manifest")]
    return [_about(name, before) for name, before in zip(names, [None, *names])]


def folder_of(name: str) -> str:
    """The directory of a generation."""
    return paths.GENERATED + "/" + name


def in_force() -> str:
    """Name of the generation in force."""
    return os.path.basename(os.readlink(paths.CURRENT))


def _about(name: str, before: str | None) -> dict:
    settings, files = [], []
    if before:
        settings = changed(folder_of(before), folder_of(name))
        files = _changed_files(before, name)
    return {
        "number": int(name[len(PREFIX):]),
        "name": name,
        "date": int(os.stat(folder_of(name) + "/manifest").st_mtime),
        "in_force": name == in_force(),
        "settings": settings,
        "files": files,
    }


def _changed_files(before: str, after: str) -> list[str]:
    """Names of the generated files that differ, without compiled maps."""
    old, new = _manifest(before), _manifest(after)
    differing = {file for file in old.keys() | new.keys() if old.get(file) != new.get(file)}
    return sorted(os.path.basename(file) for file in differing if not file.endswith(".cdb")
                  and file not in ("mailvane.conf", "domains", "dnsbl"))


def _manifest(name: str) -> dict[str, str]:
    pairs = (line.partition(" ") for line in lines_of(folder_of(name) + "/manifest"))
    return {file: checksum for checksum, _, file in pairs if checksum != "files"}
