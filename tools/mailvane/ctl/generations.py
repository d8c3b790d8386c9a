"""mailvanectl generations [--json]: the states of the settings that are kept.

Each change of settings or lists makes one; five are kept. Of each: its number, when it was made and
by whom, the settings that differ from the one before by their names, and what else was made anew.
`mailvanectl rollback` brings its settings back."""
import glob

from mailvane.common import display, paths
from mailvane.common.errors import Usage
from mailvane.ctl import answers, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--json"}


def run(session: Session, words: list[str]) -> int:
    """Prints the generations."""
    upkeep.require_root()
    if words:
        raise Usage("generations takes no words")
    found = kept(session)
    if "--json" in session.flags:
        display.print_json(found)
        return answers.DONE
    display.print_table(
        ("N", "DATE", "BY", "", "CHANGED"),
        [(one["number"], display.date_text(one["date"]), one["who"] or "-",
          "in force" if one["in_force"] else "",
          ", ".join(one["settings"] or ["(%s)" % name for name in one["files"]]))
         for one in found])
    return answers.DONE


def candidates(before: list[str]) -> list[str]:
    """Their numbers, for completion."""
    folders = glob.glob(paths.GENERATED + "/gen-*")
    return [] if before else sorted(str(int(path.rpartition("-")[2])) for path in folders)


def is_number(word: str) -> bool:
    """Whether a word is the number of a generation, and no path."""
    return word.isascii() and word.isdigit()


def kept(session: Session) -> list[dict]:
    """All complete generations, oldest first."""
    return session.told("generations")["items"]
