"""mailvanectl rollback [N]: brings the settings of an earlier generation back.

N is a number that `mailvanectl generations` lists; without it, the newest one whose settings are
not those in force. Settings, mail domains and blocklists come back; lists and keys stay as they
are. It is a save like any other: everything is made anew from the settings, judged, and services
are started and stopped as they ask. A second rollback takes the first one back."""
from mailvane.common import settings
from mailvane.common.audit import audited
from mailvane.common.errors import Refused, Usage
from mailvane.ctl import answers, generations, upkeep
from mailvane.ctl.session import Session


def run(_session: Session, words: list[str]) -> int:
    """Rolls back."""
    upkeep.require_root()
    if len(words) > 1 or not all(word.isascii() and word.isdigit() for word in words):
        raise Usage("rollback takes the number of a generation")
    name = _named(int(words[0])) if words else _newest_other()
    changes = _changes(name)
    with audited("rollback", changes):
        upkeep.configure("rollback", name)
    print("back to the settings of generation %d" % int(name[len(generations.PREFIX):]))
    return answers.DONE


def candidates(before: list[str]) -> list[str]:
    """The words that can follow, for completion."""
    return [] if before else [str(one["number"]) for one in generations.kept()]


def _changes(name: str) -> list[str]:
    return settings.changed(generations.folder_of(generations.in_force()),
                                   generations.folder_of(name))


def _named(number: int) -> str:
    for one in generations.kept():
        if one["number"] == number:
            return one["name"]
    raise Refused("there is no generation %d" % number)


def _newest_other() -> str:
    for one in reversed(generations.kept()):
        if _changes(one["name"]):
            return one["name"]
    raise Refused("no generation has other settings")
