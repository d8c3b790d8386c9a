"""mailvanectl apply FILE [--overlay FILE]... [--dry-run] [--prune] [--secrets FILE] [--confirm SECONDS]
[--json]: puts a document in force, all of it or nothing. One of the files may be - for standard input.
What overlays say counts before what FILE says.

What differs is rendered, judged by the daemons and put in force together, as one save: each service
that it touches restarts once, and when a step fails everything is as before. A document that changes
nothing does nothing. What it does not mention stays; with --prune, within the sections that it has,
entries that it does not mention go, and settings get their defaults. --dry-run judges too, and says
what would restart.

A password is written in the document, or stands there as !secret NAME: that is the stored one, or the
one in the file of --secrets, in lines NAME: value.

With --confirm everything is taken back by itself, unless `mailvanectl confirm` comes within so many
seconds: for changes after which nobody may reach the machine."""
import sys

from mailvane.common import display
from mailvane.common.audit import audited
from mailvane.common.errors import Usage
from mailvane.ctl import answers, confirm, document, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--dry-run", "--overlay", "--prune", "--secrets", "--confirm", "--json"}


def run(session: Session, words: list[str]) -> int:
    """Applies the document."""
    upkeep.require_root()
    if len(words) != 1:
        raise Usage("apply one file")
    rehearsed = "--dry-run" in session.flags
    seconds = confirm.wait(session)
    if rehearsed and seconds:
        raise Usage("a dry run changes nothing that would have to be confirmed")
    outcome = _rehearse(session, words[0]) if rehearsed else _apply(session, words[0], seconds)
    if "--json" in session.flags:
        display.print_json({"changes": outcome["changes"], "services": document.services(outcome),
                            "until": outcome["until"]})
    else:
        _tell(outcome, rehearsed)
    return answers.DONE


def _rehearse(session: Session, path: str) -> dict:
    return document.carry(session, "rehearse", path)


def _apply(session: Session, path: str, seconds: int) -> dict:
    changes: list[str] = []
    with audited("apply", changes):
        more = ["--confirm=%d" % seconds] if seconds else []
        outcome = document.carry(session, "apply", path, more)
        changes += document.names_of(outcome["changes"])
    return outcome


def _tell(outcome: dict, rehearsed: bool) -> None:
    for change in outcome["changes"]:
        print(document.words_about(change))
    if not outcome["changes"]:
        print("nothing differs")
        return
    names = ", ".join(document.services(outcome)) or "nothing"
    print(("would restart: %s; nothing has changed" if rehearsed else "restarted: %s") % names)
    if outcome["until"]:
        confirm.tell_of_waiting(outcome["until"])
    sys.stdout.flush()
