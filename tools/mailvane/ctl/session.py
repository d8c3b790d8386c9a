"""What a command works with, and the subcommands that there are."""
import importlib
from collections.abc import Iterable
from types import ModuleType

from mailvane.common.errors import Usage
from mailvane.common.reference import Action, did_you_mean
from mailvane.common.requests import Requests

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


class Session(Requests):
    """The options of a command line, and the way to the program."""

    def __init__(self, target: str, user: str = "", raw: bool = False, output: str = "",
                 flags: Iterable[str] = ()) -> None:
        super().__init__(target, user)
        self.flags = frozenset(flags)
        self.raw = raw
        self.output = output
        self._version = target + "/share/mailvane/version"

    def action(self, name: str) -> Action:
        """The action of a name; Usage, with what was perhaps meant, when there is none."""
        known = [*self.reference.names(), *SUBCOMMANDS]
        if name not in known:
            raise Usage("no action or subcommand %s%s; `mailvanectl help` lists them" % (
                name, did_you_mean(name, known)))
        return self.reference.action(name)

    def version(self) -> str:
        """The version of the package; empty when it does not say."""
        try:
            with open(self._version, encoding="ascii") as file:
                return file.read().strip()
        except FileNotFoundError:
            return ""

    @staticmethod
    def subcommand_names() -> list[str]:
        """Names of the subcommands, whose modules need not be loaded for that."""
        return list(SUBCOMMANDS)

    @staticmethod
    def subcommands() -> dict[str, ModuleType]:
        """The modules of all subcommands by name."""
        return {name: importlib.import_module(module) for name, module in SUBCOMMANDS.items()}

    @staticmethod
    def subcommand(name: str) -> ModuleType | None:
        """The module of a subcommand; None for another name."""
        return importlib.import_module(SUBCOMMANDS[name]) if name in SUBCOMMANDS else None
