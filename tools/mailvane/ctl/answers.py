"""Output of answers: standard output, standard error, exit status."""
from __future__ import annotations

import json
import os
import re
import sys
from collections.abc import Callable

from mailvane.common import reasons, requests
from mailvane.common.reference import Action
from mailvane.common.texts import Texts

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any
    from mailvane.common.gateway import Answer
    from mailvane.ctl.session import Session

DONE, REFUSED, USAGE, NO_ANSWER = 0, 1, 2, 3
READABLE_MASK = "*" * 8  # shown instead of a password's mask, which few terminals can show
LOOK = re.compile(r"; the system log says wh\w+")


def complain(text: str) -> None:
    """Prints a line on standard error."""
    print("mailvanectl: " + text, file=sys.stderr)


def explain(text: str, lines: list[str]) -> None:
    """Prints an error with the related lines of the system log; without any, says where to look for
    them."""
    if lines:
        text = LOOK.sub("", text) + ":" + "".join("\n  " + line for line in lines)
    elif LOOK.search(text):
        text += " (journalctl -t mailvane.cgi)"
    complain(text)


def _shows_all_letters() -> bool:
    return (sys.stdout.encoding or "").lower().startswith("utf")


def judged(action: Action, answer: Answer, value: object, texts: Texts) -> int:
    """Prints what is wrong with an answer; returns the exit status."""
    why = requests.refusal(action, answer.status, value)
    errors = [*reasons.told(answer, texts), *answer.log.errors()]
    if not why and action.kind == "upload" and errors:
        why = "the file was refused"  # the body does not tell
    if why:
        explain("%s: %s" % (action.name, why), errors)
        return REFUSED
    for line in answer.log.warnings() if action.kind != "read" else []:
        complain(line)
    return DONE


def show(session: Session, action: Action, answer: Answer,
         note: Callable[[dict], str] = lambda value: "") -> int:
    """Prints a JSON answer, and notes about it on standard error; returns the exit status."""
    text = answer.content()
    if session.raw:
        sys.stdout.buffer.write(text)
    value = answer.value(text)
    status = judged(action, answer, value, session.texts)
    if status != DONE:
        return status
    if not session.raw:
        print(json.dumps(readable(action, value), indent=2, ensure_ascii=not _shows_all_letters()))
    remark = note(value)
    if remark:
        complain("%s: %s" % (action.name, remark))
    return DONE


def readable(action: Action, value: object) -> Any:
    """An answer for people: without markup, with a password mask that terminals can show."""
    if isinstance(value, list):
        return [readable(action, entry) for entry in value]
    if isinstance(value, dict):
        return {name: _without_markup(entry) if name in action.markup else readable(action, entry)
                for name, entry in value.items()}
    return READABLE_MASK if value and value == action.mask else value


def _without_markup(text: str) -> str:
    import html
    return html.unescape(re.sub(r"<[^>]*>", "", text))


def store(session: Session, action: Action, answer: Answer) -> int:
    """Writes a download to a file or to standard output; returns the exit status."""
    if "content-disposition" not in answer.headers:
        return show(session, action, answer)
    if not session.output:
        answer.copy(sys.stdout.buffer)
        return DONE

    # An existing file is replaced only when the new one is complete.
    output = session.output
    new = "%s.%d" % (output, os.getpid())
    try:
        with open(new, "xb") as file:
            answer.copy(file)
        os.rename(new, output)
    except OSError as problem:
        complain("%s: %s" % (output, problem.strerror))
        if os.path.exists(new):
            os.unlink(new)
        return NO_ANSWER
    return DONE
