"""mailvanectl confirm [--undo]: has the change that waits to be confirmed stay in force. With --undo,
takes it back at once.

A change by `apply` or `rollback` with --confirm SECONDS waits: until it is confirmed every other change
is refused (unconfirmed), and when its time is up, the whole state before it comes back. The exit status
is 1 when no change waits. `mailvanectl generations` has its number."""
from mailvane.common import display
from mailvane.common.errors import Refused, Usage
from mailvane.ctl import answers, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--undo"}

SHORTEST, LONGEST = 10, 86400  # seconds


def run(session: Session, words: list[str]) -> int:
    """Confirms, or takes back."""
    upkeep.require_root()
    if words:
        raise Usage("confirm takes no words")
    waiting = session.told("about")["unconfirmed"]
    if not waiting:
        raise Refused("no change waits to be confirmed")
    number = {"number": waiting["number"]}
    if "--undo" in session.flags:
        session.call("take_back", number)
        print("taken back: generation %d; the state before it is in force" % waiting["number"])
    else:
        session.call("confirm", number)
        print("confirmed: generation %d stays in force" % waiting["number"])
    return answers.DONE


def wait(session: Session) -> int:
    """The seconds that --confirm gives; 0 without it."""
    text = session.values.get("--confirm")
    if text is None:
        return 0
    if not (text.isascii() and text.isdigit() and SHORTEST <= int(text) <= LONGEST):
        raise Usage("--confirm takes from %d to %d seconds" % (SHORTEST, LONGEST))
    return int(text)


def tell_of_waiting(until: int) -> None:
    """Says until when a change waits."""
    print("taken back at %s, unless `mailvanectl confirm` comes before" % display.date_text(until))
