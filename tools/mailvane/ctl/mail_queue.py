"""mailvanectl queue VERB: the mail that waits to be delivered.

  list [--json]          what waits: id, size, age, sender, recipients, and why they did not get it
  flush                  tries to deliver everything now
  hold ID | all          keeps messages from being tried
  release ID | all       lets go what was held, and tries it
  delete ID | all        removes messages for good; before all of them it asks, a script says --yes

  mailvanectl queue list
  mailvanectl queue delete all --yes"""
import string

from mailvane.common import display, paths, postqueue, programs
from mailvane.common.audit import audited
from mailvane.common.errors import Refused
from mailvane.ctl import answers, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--json", "--yes"}

CONFIGURATION = paths.CURRENT + "/postfix"
POSTSUPER = ["/usr/sbin/postsuper", "-c", CONFIGURATION]
ALL = "all"
ID_SIGNS = set(string.ascii_letters + string.digits)
LONGEST_ID = 30


def run(session: Session, words: list[str]) -> int:
    """Runs one verb."""
    return upkeep.dispatch(session, words, VERBS, "queue")


def candidates(before: list[str]) -> list[str]:
    """The words that can follow, for completion."""
    if not before:
        return list(VERBS)
    return [ALL] if before[0] in ("hold", "release", "delete") and len(before) == 1 else []


def _messages() -> list[dict]:
    return [_message(about) for about in postqueue.waiting(CONFIGURATION)]


def _message(about: dict) -> dict:
    return {
        "id": about["queue_id"],
        "queue": about["queue_name"],
        "size": about["message_size"],
        "arrival": about["arrival_time"],
        "sender": about["sender"],
        "recipients": [{"address": one["address"], "reason": one.get("delay_reason", "")}
                       for one in about["recipients"]],
    }


def _list(session: Session) -> int:
    messages = _messages()
    if "--json" in session.flags:
        display.print_json(messages)
        return answers.DONE
    display.print_table(("ID", "QUEUE", "SIZE", "AGE", "SENDER", "RECIPIENTS"),
                       [_row(message) for message in messages])
    return answers.DONE


def _row(message: dict) -> tuple:
    recipients = [one["address"] + (" (%s)" % one["reason"] if one["reason"] else "")
                  for one in message["recipients"]]
    return (message["id"], message["queue"], display.size_text(message["size"]),
            display.age_text(message["arrival"]), message["sender"] or "<>", ", ".join(recipients))


def _flush(_session: Session) -> int:
    with audited("queue flush"):
        postqueue.flush(CONFIGURATION)
    print("everything that waits and is not held is tried now")
    return answers.DONE


def _hold(_session: Session, which: str) -> int:
    with audited("queue hold", [which]):
        programs.checked([*POSTSUPER, "-h", _target(which)])
    print("%s until it is released" % _told(which, "held"))
    return answers.DONE


def _release(_session: Session, which: str) -> int:
    with audited("queue release", [which]):
        target = _target(which)
        programs.checked([*POSTSUPER, "-H", target])
        # Released messages would otherwise wait for the next queue run.
        if which == ALL:
            postqueue.flush(CONFIGURATION)
        else:
            programs.checked([*postqueue.command(CONFIGURATION), "-i", target])
    print("%s and tried now" % _told(which, "released"))
    return answers.DONE


def _delete(session: Session, which: str) -> int:
    if which == ALL:
        upkeep.confirm(session, "This deletes all mail that waits.")
    with audited("queue delete", [which]):
        programs.checked([*POSTSUPER, "-d", _target(which)])
    print(_told(which, "deleted"))
    return answers.DONE


def _told(which: str, done: str) -> str:
    return "all that waited is %s" % done if which == ALL else "%s is %s" % (which, done)


def _target(which: str) -> str:
    """The argument of postsuper for one message or all. Refused when there is no such message, of
    which postsuper says nothing."""
    if which == ALL:
        return "ALL"
    if not which or set(which) - ID_SIGNS or len(which) > LONGEST_ID:
        raise Refused("%s is no id of a message" % display.plain(which))
    if all(message["id"] != which for message in _messages()):
        raise Refused("no message %s waits" % which)
    return which


VERBS: upkeep.Verbs = {
    "list": (_list, 0, 0),
    "flush": (_flush, 0, 0),
    "hold": (_hold, 1, 1),
    "release": (_release, 1, 1),
    "delete": (_delete, 1, 1),
}
