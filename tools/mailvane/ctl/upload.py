"""mailvanectl upload FILE: the file of an import that was announced before."""
from mailvane.common.errors import Usage
from mailvane.ctl import call
from mailvane.ctl.session import Session


def run(session: Session, words: list[str]) -> int:
    """Uploads the file."""
    if len(words) != 1:
        raise Usage("upload one file")
    call.readable(words[0])
    return call.upload(session, words[0])
