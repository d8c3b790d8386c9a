"""mailvanectl upload FILE: the file of an import that was announced before."""
from mailvane.ctl import call
from mailvane.ctl.reference import Usage

WORDS = "FILE"
SUMMARY = "uploads the file of an announced import"


def run(session, words):
    """Uploads the file."""
    if len(words) != 1:
        raise Usage("upload one file")
    call.readable(words[0])
    return call.upload(session, words[0])
