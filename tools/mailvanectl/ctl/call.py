"""Calls one action, with the upload that follows where it announces one."""
import os

from ctl import answers, arguments
from ctl.reference import Usage


def run(session, name, words):
    """Calls the action of a name."""
    action = session.reference.action(name)
    given, files = arguments.members_of(action, words)
    if len(files) > (1 if action.then_upload else 0):
        raise Usage("%s: no name=value and no JSON: %s" % (name, files[-1]))
    for path in files:
        readable(path)
    if session.output and not action.download:
        raise Usage("%s gives no file that could be stored" % name)

    sent = arguments.complete(action, given)
    if not files:
        return send(session, action, sent)
    why = answers.refusal(action, *_value(session.gateway().write(name, sent)))
    if why:
        answers.complain("%s: %s" % (name, why))
        return answers.REFUSED
    return upload(session, files[0])


def send(session, action, members):
    """Sends an action and shows its answer."""
    if action.kind == "read":
        answer = session.gateway().read(action.name, members)
        if action.download:
            return answers.store(action, answer, session.output, session.raw)
    else:
        answer = session.gateway().write(action.name, members)
    return answers.show(action, answer, session.raw)


def upload(session, path):
    """Uploads the file of an announced import."""
    answer = session.gateway().upload(path)
    return answers.show(session.reference.action("upload"), answer, session.raw)


def readable(path):
    """Refuses a file that cannot be uploaded before anything is announced."""
    if not os.path.isfile(path):
        raise Usage("%s: no such file" % path)
    if not os.access(path, os.R_OK):
        raise Usage("%s: it cannot be read" % path)


def _value(answer):
    return answer.status, answer.json()
