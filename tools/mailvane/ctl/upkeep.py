"""What the subcommands of the day-to-day upkeep share: verbs, who may, questions, changes by the
settings tool."""
import os
import sys
import syslog
from collections.abc import Callable, Mapping

from mailvane.common import paths, programs, request_log
from mailvane.common.errors import Refused, Usage
from mailvane.common.reference import did_you_mean
from mailvane.ctl.session import Session

# What runs a verb, and how many words it takes, at least and at most.
Verbs = Mapping[str, tuple[Callable[..., int], int, int]]


def dispatch(session: Session, words: list[str],
             verbs: Verbs, name: str) -> int:
    """Runs one of the verbs of a subcommand."""
    require_root()
    run, least, most = verbs.get(words[0] if words else "", (None, 0, 0))
    if run is None or not least <= len(words) - 1 <= most:
        like = did_you_mean(words[0], verbs) if words and run is None else ""
        raise Usage("%s takes %s%s; `mailvanectl help %s` tells more" % (
            name, ", ".join(verbs), like, name))
    return run(session, *words[1:])


def require_root() -> None:
    """Refuses everybody else: what the upkeep reads is as secret as what it changes."""
    if os.geteuid() != 0:
        raise Usage("only root can do this")


def configure(*words: str) -> None:
    """Runs the settings tool, which changes all or nothing."""
    status, _, errors = programs.run([paths.SETTINGS_TOOL, *words], request_log.ENVIRONMENT)
    if status != 0:
        why = [text for priority, text in request_log.parsed(errors) if priority <= syslog.LOG_ERR]
        raise Refused("it was refused, and nothing has changed; the system log says why", why)


def confirm(session: Session, question: str) -> None:
    """Asks before what cannot be taken back. A script says --yes instead."""
    if "--yes" in session.flags:
        return
    if not sys.stdin.isatty():
        raise Usage(question + " There is no terminal to ask at: say --yes")
    if input(question + " Go on? [y/N] ").strip().lower() not in ("y", "yes"):
        raise Refused("nothing was changed")
