"""mailvanectl quarantine VERB: mail that the scanner has kept aside.

  list [--json]  what is there: id, date, size, sender, recipients, subject
  show ID        the message as it came
  release ID     delivers it to its recipients; it stays in the quarantine until its time is over
  delete ID      removes it for good"""
import sys
from collections.abc import Iterator

from mailvane.common import display
from mailvane.common.errors import Refused
from mailvane.ctl import answers, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--json"}

PAGE = 100  # messages that are asked for at once
FOLDER = "/var/lib/mailvane/quarantine"


def run(session: Session, words: list[str]) -> int:
    """Runs one verb."""
    return upkeep.dispatch(session, words, VERBS, "quarantine")


def candidates(before: list[str]) -> list[str]:
    """The words that can follow, for completion."""
    if not before:
        return list(VERBS)
    return _ids() if before[0] in ("show", "release", "delete") and len(before) == 1 else []


def _ids() -> list[str]:
    """For completion alone, which must be quick."""
    import os
    try:
        return sorted(os.listdir(FOLDER))
    except OSError:
        return []


def _messages(session: Session) -> Iterator[dict]:
    start, total = 0, 1
    while start < total:
        page = session.told("quarantine_list", {"start": start, "limit": PAGE})
        start, total = start + PAGE, page["total"]
        for message in page["messages"]:
            yield {name: value for name, value in message.items() if name != "recipient_count"}


def _list(session: Session) -> int:
    messages = list(_messages(session))
    if "--json" in session.flags:
        display.print_json(messages)
        return answers.DONE
    display.print_table(
        ("ID", "DATE", "SIZE", "SENDER", "RECIPIENTS", "SUBJECT"),
        [(about["id"], display.date_text(about["date"]), display.size_text(about["size"]),
          about["sender"], ", ".join(about["recipients"]), about["subject"])
         for about in messages])
    return answers.DONE


def _show(session: Session, name: str) -> int:
    answer = session.download("quarantine_raw", {"id": name})
    if not sys.stdout.isatty():
        answer.copy(sys.stdout.buffer)
        return answers.DONE
    for line in answer.content().splitlines():  # control characters could change the terminal
        print(display.plain(line.decode(errors="replace").replace("\t", "    ")))
    return answers.DONE


def _release(session: Session, name: str) -> int:
    _do(session, "quarantine_release", name)
    print("%s is on its way to its recipients; it stays in the quarantine too" % name)
    return answers.DONE


def _delete(session: Session, name: str) -> int:
    _do(session, "quarantine_delete", name)
    print("%s is deleted" % name)
    return answers.DONE


def _do(session: Session, call: str, name: str) -> None:
    answer = session.call(call, {"ids": [name]})
    if answer["gone"]:
        raise Refused("no message %s is kept" % display.plain(name))
    if answer["failed"]:
        raise Refused("it could not be done to " + display.plain(name))


VERBS: upkeep.Verbs = {
    "list": (_list, 0, 0),
    "show": (_show, 1, 1),
    "release": (_release, 1, 1),
    "delete": (_delete, 1, 1),
}
