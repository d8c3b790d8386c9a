"""The command line of mailvanectl: options, subcommands, and everything else is an action.

To add a subcommand: write its module with `WORDS`, `SUMMARY` and `run(session, words)`, which gives
the exit status, and add its row to SUBCOMMANDS. A name there must be no action's. A module may have
`OPTIONS`, those of FLAGS that it takes, and `candidates(before)` for the completion.
"""
import getopt
import importlib
import os
import sys

from mailvane.ctl import answers
from mailvane.ctl.reference import Action, Reference, Usage, did_you_mean

SUBCOMMANDS = {
    "help": "mailvane.ctl.helping",
    "edit": "mailvane.ctl.edit",
    "upload": "mailvane.ctl.upload",
    "complete": "mailvane.ctl.completion",
    "queue": "mailvane.ctl.mail_queue",
    "quarantine": "mailvane.ctl.quarantine",
    "backup": "mailvane.ctl.backup",
    "restore": "mailvane.ctl.restore",
    "generations": "mailvane.ctl.generations",
    "rollback": "mailvane.ctl.rollback",
    "tls": "mailvane.ctl.tls",
    "dkim": "mailvane.ctl.dkim",
    "dns": "mailvane.ctl.dns",
    "check": "mailvane.ctl.check",
    "user": "mailvane.ctl.user",
}

FLAGS = ("--json", "--yes", "--check", "--delete-mailbox", "--keep-mailbox")


class Session:
    """What a command works with."""

    def __init__(self, target, user="", raw=False, output="", flags=()):
        self.flags = frozenset(flags)
        self.reference = Reference(target + "/share/mailvane/actions.json")
        self.raw = raw
        self.output = output
        self._program = target + "/ui/mailvane.cgi"
        self._version = target + "/share/mailvane/version"
        self._user = user
        self._gateway = None

    def gateway(self):
        """The way to the program; made when it is first needed, for help needs none."""
        from mailvane.ctl.gateway import Gateway
        if self._gateway is None:
            if os.geteuid() != 0:
                raise Usage("only root can run the program")
            self._gateway = Gateway(self._program, self._user or _administrator())
        return self._gateway

    def action(self, name: str) -> Action:
        """The action of a name; Usage, with what was perhaps meant, when there is none."""
        known = [*self.reference.names(), *SUBCOMMANDS]
        if name not in known:
            raise Usage("no action or subcommand %s%s; `mailvanectl help` lists them" % (
                name, did_you_mean(name, known)))
        return self.reference.action(name)

    def version(self):
        """The version of the package; empty when it does not say."""
        try:
            with open(self._version, encoding="ascii") as file:
                return file.read().strip()
        except FileNotFoundError:
            return ""

    @staticmethod
    def subcommand_names():
        """Names of the subcommands, whose modules need not be loaded for that."""
        return list(SUBCOMMANDS)

    @staticmethod
    def subcommand(name):
        """The module of a subcommand; None for another name."""
        return importlib.import_module(SUBCOMMANDS[name]) if name in SUBCOMMANDS else None


def _administrator():
    from mailvane.ctl.administrators import first_administrator
    return first_administrator()


def main(target, words):
    """Runs a command line; gives the exit status."""
    try:
        status = _run(target, words)
        sys.stdout.flush()
        return status
    except Usage as problem:
        answers.complain(str(problem))
        return answers.USAGE
    except answers.Refused as problem:
        answers.explain(str(problem), problem.lines)
        return answers.REFUSED
    except answers.NoAnswer as problem:
        answers.explain("%s; the system log says why" % problem, problem.lines)
        return answers.NO_ANSWER
    except BrokenPipeError:  # nobody reads the output any more
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        return answers.REFUSED
    except OSError as problem:
        answers.complain(str(problem))
        return answers.REFUSED
    except (KeyboardInterrupt, EOFError):  # also where an answer was asked for
        return 130


def _run(target, words):
    if words[:1] == ["complete"]:  # what follows is somebody else's command line
        session, command, rest = Session(target), "complete", words[1:]
    else:
        session, command, rest = _parse(target, words)

    module = session.subcommand(command)
    foreign = session.flags - getattr(module, "OPTIONS", {"--yes"} if not module else set())
    if foreign:
        raise Usage("%s takes no %s" % (command, min(foreign)))
    return module.run(session, rest) if module else _call(session, command, rest)


def _parse(target, words):
    try:
        options, rest = getopt.gnu_getopt(words, "ho:", [
            "help", "as=", "raw", "output=", *(flag[2:] for flag in FLAGS)])
    except getopt.GetoptError as problem:
        raise Usage(str(problem)) from problem
    given = dict(options)
    session = Session(target, given.get("--as", ""), "--raw" in given,
                      given.get("--output", given.get("-o", "")), given.keys() & FLAGS)
    if not rest or {"-h", "--help"} & given.keys():
        rest = ["help", *rest[:1]]
    return session, rest[0], rest[1:]


def _call(session, action, words):
    from mailvane.ctl import call
    return call.run(session, session.action(action), words)
