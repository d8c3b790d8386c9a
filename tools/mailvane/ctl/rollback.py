"""mailvanectl rollback [N] [--confirm SECONDS]: brings the settings of an earlier generation back.

N is a number that `mailvanectl generations` lists; without it, the newest one whose settings are
not those in force. Settings, mail domains and blocklists come back; lists and keys stay as they
are. It is a save like any other: everything is made anew from the settings, judged, and services
are started and stopped as they ask. A second rollback takes the first one back. With --confirm it
is taken back by itself, unless `mailvanectl confirm` comes within so many seconds."""
from mailvane.common.errors import Refused, Usage
from mailvane.ctl import answers, confirm, generations, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--confirm"}


def run(session: Session, words: list[str]) -> int:
    """Rolls back."""
    upkeep.require_root()
    if len(words) > 1 or not all(map(generations.is_number, words)):
        raise Usage("rollback takes the number of a generation")
    seconds = confirm.wait(session)
    number = int(words[0]) if words else _newest_other(session)
    if number not in (one["number"] for one in generations.kept(session)):
        raise Refused("there is no generation %d" % number)
    told = session.call("rollback", {"number": number, "confirm": seconds})
    print("back to the settings of generation %d" % number)
    if told["until"]:
        confirm.tell_of_waiting(told["until"])
    return answers.DONE


candidates = generations.candidates


def _newest_other(session: Session) -> int:
    for one in reversed(generations.kept(session)):
        if one["different"]:
            return one["number"]
    raise Refused("no generation has other settings")
