"""mailvanectl log ID [--json]: the mail server's lines of one message.

ID is a queue id, or a message id, with or without its brackets. Rotated files are searched too, from
the newest to the oldest, for two seconds; what was not looked at is said on standard error."""
import sys

from mailvane.common import display
from mailvane.common.errors import Usage
from mailvane.ctl import answers, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--json"}


def run(session: Session, words: list[str]) -> int:
    """Prints the lines."""
    upkeep.require_root()
    if len(words) != 1:
        raise Usage("log takes the id of a message")
    found = session.told("log_lines", {"id": words[0]})
    if "--json" in session.flags:
        display.print_json({name: found[name] for name in ("lines", "ids", "since", "cut", "whole")})
        return answers.DONE
    for line in found["lines"]:
        print(display.plain(line))
    if not found["whole"]:
        print("looked back to %s" % (found["since"] or "nothing"), file=sys.stderr)
    return answers.DONE if found["lines"] else answers.REFUSED
