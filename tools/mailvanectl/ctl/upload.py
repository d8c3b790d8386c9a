"""mailvanectl upload FILE: the file of an import that was announced before."""
from ctl import call
from ctl.reference import Usage

WORDS = "FILE"
SUMMARY = "uploads the file of an announced import"


def run(session, words):
    """Uploads the file."""
    if len(words) != 1:
        raise Usage("upload one file")
    call.readable(words[0])
    return call.upload(session, words[0])
