"""Calls an action, followed by the upload if it announces one."""
import os

from mailvane.common.errors import Usage
from mailvane.common.reference import Action
from mailvane.ctl import answers, arguments, consequences, pages
from mailvane.ctl.session import Session


def run(session: Session, action: Action, words: list[str]) -> int:
    """Calls an action."""
    given, files = arguments.members_of(action, words)
    if len(files) > (1 if action.then_upload else 0):
        raise Usage("%s: no name=value and no JSON: %s" % (action.name, files[-1]))
    for path in files:
        readable(path)
    if session.output and not action.download:
        raise Usage("%s gives no file that could be stored" % action.name)
    if "--yes" in session.flags and not action.asks:
        raise Usage("%s takes no --yes" % action.name)

    sent = arguments.complete(action, pages.first(action, given))
    if action.asks:
        from mailvane.ctl import upkeep
        upkeep.confirm(session, action.asks)
    if not files:
        return send(session, action, sent)
    answer = session.gateway().write(action.name, sent)
    status = answers.judged(action, answer, answer.json(), session.texts)
    return upload(session, files[0]) if status == answers.DONE else status


def send(session: Session, action: Action, members: dict) -> int:
    """Calls an action and prints its answer."""
    if action.kind == "read":
        answer = session.gateway().read(action.name, members)
        if action.download:
            return answers.store(session, action, answer)
        return answers.show(session, action, answer, pages.Note(members))
    remarks = consequences.of(session, action, members)
    answer = session.gateway().write(action.name, members)
    status = answers.show(session, action, answer)
    if status == answers.DONE:
        for remark in remarks():
            answers.complain(remark)
    return status


def upload(session: Session, path: str) -> int:
    """Uploads the file of an announced import."""
    answer = session.gateway().upload(path)
    return answers.show(session, session.reference.action("upload"), answer)


def readable(path: str) -> None:
    """Refuses a file that cannot be read, before an upload is announced."""
    if not os.path.isfile(path):
        raise Usage("%s: no such file" % path)
    if not os.access(path, os.R_OK):
        raise Usage("%s: it cannot be read" % path)
