"""Functions for the administrative subcommands: verbs, the check for root, questions, changes by
the settings tool."""
import os
import sys
import syslog
from collections.abc import Callable, Mapping

from mailvane.common import paths, programs, request_log
from mailvane.common.errors import Refused, Usage
from mailvane.common.reference import did_you_mean
from mailvane.ctl.session import Session

# For each verb: its function, and the least and greatest number of its words.
Verbs = Mapping[str, tuple[Callable[..., int], int, int]]


def dispatch(session: Session, words: list[str],
             verbs: Verbs, name: str) -> int:
    """Runs a verb of a subcommand."""
    require_root()
    run, least, most = verbs.get(words[0] if words else "", (None, 0, 0))
    if run is None or not least <= len(words) - 1 <= most:
        like = did_you_mean(words[0], verbs) if words and run is None else ""
        raise Usage("%s takes %s%s; `mailvanectl help %s` tells more" % (
            name, ", ".join(verbs), like, name))
    return run(session, *words[1:])


def require_root() -> None:
    """Refuses users other than root: what these subcommands read is as secret as what they change.
    """
    if os.geteuid() != 0:
        raise Usage("only root can do this")


def configure(*words: str) -> None:
    """Runs the settings tool, which makes its change completely or not at all."""
    who = {"SUDO_USER": os.environ.get("SUDO_USER", "")}
    status, _, errors = programs.run([paths.SETTINGS_TOOL, *words],
                                     {**request_log.ENVIRONMENT, **who})
    if status != 0:
        why = [text for priority, text in request_log.parsed(errors) if priority <= syslog.LOG_ERR]
        raise Refused("it was refused, and nothing has changed; the system log says why", why)


def confirm(session: Session, question: str) -> None:
    """Asks before a change that cannot be undone. Scripts pass --yes instead."""
    if "--yes" in session.flags:
        return
    if not sys.stdin.isatty():
        raise Usage(question + " There is no terminal to ask at: say --yes")
    if input(question + " Go on? [y/N] ").strip().lower() not in ("y", "yes"):
        raise Refused("nothing was changed")
