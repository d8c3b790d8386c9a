"""The command line of mailvanectl: options, then a subcommand or the name of an action.

To add a subcommand, write its module with `run(session, words)`, which returns the exit status, and
add its row to SUBCOMMANDS in session.py, under a name that no action has. The module may define
`OPTIONS` (those of FLAGS and VALUES that it accepts) and `candidates(before)` for completion. `help`
prints its docstring."""
import getopt
import os
import sys

from mailvane.common.errors import NoAnswer, Refused, Usage
from mailvane.ctl import answers
from mailvane.ctl.session import Session

FLAGS = ("--json", "--yes", "--check", "--delete-mailbox", "--keep-mailbox", "--with-local",
         "--with-secrets", "--with-personal", "--prune", "--dry-run", "--undo")
VALUES = ("--sign", "--require-signature", "--from", "--secrets", "--overlay", "--confirm")


def main(target: str, words: list[str]) -> int:
    """Runs a command line; returns the exit status."""
    try:
        status = _run(target, words)
        sys.stdout.flush()
        return status
    except Usage as problem:
        answers.complain(str(problem))
        return answers.USAGE
    except Refused as problem:
        answers.explain(str(problem), problem.lines)
        return answers.REFUSED
    except NoAnswer as problem:
        answers.explain("%s; the system log says why" % problem, problem.lines)
        return answers.NO_ANSWER
    except BrokenPipeError:  # the reader of the output has ended
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        return answers.REFUSED
    except OSError as problem:
        answers.complain(str(problem))
        return answers.REFUSED
    except (KeyboardInterrupt, EOFError):  # also at a question
        return 130


def _run(target: str, words: list[str]) -> int:
    if words[:1] == ["complete"]:  # the words that follow are the command line to complete
        session, command, rest = Session(target), "complete", words[1:]
    else:
        session, command, rest = _parse(target, words)

    module = session.subcommand(command)
    foreign = (session.flags | session.values.keys()) - getattr(module, "OPTIONS", {"--yes"} if not module else set())
    if foreign:
        raise Usage("%s takes no %s" % (command, min(foreign)))
    return module.run(session, rest) if module else _call(session, command, rest)


def _parse(target: str, words: list[str]) -> tuple[Session, str, list[str]]:
    try:
        options, rest = getopt.gnu_getopt(words, "ho:", [
            "help", "as=", "raw", "output=", *(flag[2:] for flag in FLAGS),
            *(name[2:] + "=" for name in VALUES)])
    except getopt.GetoptError as problem:
        raise Usage(str(problem)) from problem
    given = dict(options)
    session = Session(target, given.get("--as", ""), "--raw" in given,
                      given.get("--output", given.get("-o", "")), given.keys() & FLAGS)
    session.values = {name: given[name] for name in VALUES if name in given}
    session.overlays = [value for name, value in options if name == "--overlay"]
    if not rest or {"-h", "--help"} & given.keys():
        rest = ["help", *rest[:1]]
    return session, rest[0], rest[1:]


def _call(session: Session, action: str, words: list[str]) -> int:
    from mailvane.ctl import call
    return call.run(session, session.action(action), words)
