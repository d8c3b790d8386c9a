"""mailvanectl edit PAGE name=value…: changes single members of a page."""
from mailvane.common import requests
from mailvane.common.errors import Usage
from mailvane.common.reference import did_you_mean
from mailvane.ctl import answers, arguments, call
from mailvane.ctl.session import Session


def run(session: Session, words: list[str]) -> int:
    """Loads the page, changes members, saves it."""
    pages = session.reference.pages()
    if not words or words[0] not in pages:
        raise Usage("edit one of the pages %s%s" % (
            " ".join(pages), did_you_mean(words[0], pages) if words else ""))
    save = session.reference.action(pages[words[0]])
    given, files = arguments.members_of(save, words[1:])
    if files or not given:
        raise Usage("edit %s: say what to change as name=value" % words[0])

    load = session.reference.action(save.edits)
    answer = session.gateway().read(load.name, {})
    page = answer.json()
    if answers.judged(load, answer, page, session.texts) != answers.DONE:
        return answers.REFUSED
    return call.send(session, save, arguments.complete(save, requests.edited(save, page, given)))
