"""mailvanectl queue VERB: the mail that waits to be delivered.

  list [--json]          what waits: id, size, age, sender, recipients, and why they did not get it
  flush                  tries to deliver everything now
  hold ID | all          keeps messages from being tried
  release ID | all       lets go what was held, and tries it
  delete ID | all        removes messages for good; before all of them it asks, a script says --yes

  mailvanectl queue list
  mailvanectl queue delete all --yes"""
from collections.abc import Iterator

from mailvane.common import display
from mailvane.common.errors import Refused
from mailvane.ctl import answers, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--json", "--yes"}

ALL = "all"
PAGE = 200  # messages that are asked for at once


def run(session: Session, words: list[str]) -> int:
    """Runs one verb."""
    return upkeep.dispatch(session, words, VERBS, "queue")


def candidates(before: list[str]) -> list[str]:
    """The words that can follow, for completion."""
    if not before:
        return list(VERBS)
    return [ALL] if before[0] in ("hold", "release", "delete") and len(before) == 1 else []


def _messages(session: Session) -> Iterator[dict]:
    told: set[str] = set()  # one that was moved meanwhile can come again
    start, total = 0, 1
    while start < total:
        page = session.told("queue_list", {"start": start, "limit": PAGE})
        start, total = start + PAGE, page["total"]
        for message in page["messages"]:
            if message["id"] not in told:
                told.add(message["id"])
                yield {name: value for name, value in message.items() if name != "recipient_count"}


def _list(session: Session) -> int:
    messages = list(_messages(session))
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


def _flush(session: Session) -> int:
    _do(session, "queue_flush", ALL)
    print("everything that waits and is not held is tried now")
    return answers.DONE


def _hold(session: Session, which: str) -> int:
    _do(session, "queue_hold", which)
    print("%s until it is released" % _told(which, "held"))
    return answers.DONE


def _release(session: Session, which: str) -> int:
    _do(session, "queue_release", which)
    print("%s and tried now" % _told(which, "released"))
    return answers.DONE


def _delete(session: Session, which: str) -> int:
    if which == ALL:
        upkeep.confirm(session, "This deletes all mail that waits.")
    _do(session, "queue_delete", which)
    print(_told(which, "deleted"))
    return answers.DONE


def _told(which: str, done: str) -> str:
    return "all that waited is %s" % done if which == ALL else "%s is %s" % (which, done)


def _do(session: Session, call: str, which: str) -> None:
    """Makes a call about one message or all; Refused when there is no such message."""
    members: dict = {"all": True, "confirm": True} if which == ALL else {"ids": [which]}
    if session.call(call, members)["gone"]:
        raise Refused("no message %s waits" % display.plain(which))


VERBS: upkeep.Verbs = {
    "list": (_list, 0, 0),
    "flush": (_flush, 0, 0),
    "hold": (_hold, 1, 1),
    "release": (_release, 1, 1),
    "delete": (_delete, 1, 1),
}
