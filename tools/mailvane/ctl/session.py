"""What commands share, and the table of subcommands."""
import importlib
import json
from collections.abc import Iterable
from types import ModuleType

from mailvane.common.errors import Usage
from mailvane.common.reference import Action, did_you_mean
from mailvane.common.requests import Requests

# For each name: its module, its arguments, its summary.
SUBCOMMANDS = {
    "help": ("mailvane.ctl.helping", "[NAME]",
             "lists the actions, or tells about an action, a subcommand or a setting"),
    "edit": ("mailvane.ctl.edit", "PAGE name=value…",
             "changes single members of a page"),
    "upload": ("mailvane.ctl.upload", "FILE",
               "uploads the file of an announced import"),
    "complete": ("mailvane.ctl.completion", "WORD…",
                 "what the last word can become, for the shell"),
    "queue": ("mailvane.ctl.mail_queue", "list|flush|hold|release|delete [ID]",
              "the mail that waits to be delivered"),
    "quarantine": ("mailvane.ctl.quarantine", "list|show|release|delete [ID]",
                   "the mail that the scanner has kept aside"),
    "log": ("mailvane.ctl.message_log", "ID [--json]",
            "what the mail server has written of a message"),
    "spam": ("mailvane.ctl.spam", "learn|forget|status|reset [spam|ham] [PLACE…]",
             "what the spam filter has learned"),
    "backup": ("mailvane.ctl.backup", "FILE [--sign KEY]",
               "writes settings, lists, keys and user data to an archive"),
    "restore": ("mailvane.ctl.restore", "FILE [--with-local] [--require-signature KEY]",
                "puts the state in an archive in force"),
    "export": ("mailvane.ctl.export", "[FILE] [--with-secrets] [--with-personal]",
               "writes settings and lists as one document"),
    "diff": ("mailvane.ctl.diff", "FILE [--overlay FILE]… [--prune] [--json] | ONE OTHER",
             "what a document would change, or what lies between two"),
    "apply": ("mailvane.ctl.apply",
              "FILE [--overlay FILE]… [--dry-run] [--prune] [--secrets FILE] [--confirm SECONDS]",
              "puts a document in force"),
    "confirm": ("mailvane.ctl.confirm", "[--undo]",
                "has a change that waits to be confirmed stay, or takes it back"),
    "generations": ("mailvane.ctl.generations", "[--json]",
                    "the states of the settings that are kept"),
    "history": ("mailvane.ctl.history", "[--json]",
                "what changed when and by whom"),
    "show": ("mailvane.ctl.show", "GENERATION",
             "a generation that is kept, as a document"),
    "rollback": ("mailvane.ctl.rollback", "[N] [--confirm SECONDS]",
                 "brings the settings of an earlier generation back"),
    "repair": ("mailvane.ctl.repair", "[--from FILE] [--require-signature KEY] [--yes]",
               "brings lists back whose database is lost"),
    "tls": ("mailvane.ctl.tls", "show|install|remove [CERT KEY]",
            "the certificate that the services show"),
    "dkim": ("mailvane.ctl.dkim", "list|restore [DATE]",
             "the key pairs that sign mail"),
    "dns": ("mailvane.ctl.dns", "[--json] [--check]",
            "the DNS records to publish for each mail domain"),
    "metrics": ("mailvane.ctl.metrics", "[FILE]",
                "numbers for monitoring"),
    "check": ("mailvane.ctl.check", "[--json]",
              "the self-check as a table, the worst first"),
    "user": ("mailvane.ctl.user", "list|show|add|password|remove [NAME]",
             "the people who have mail on this machine"),
}


class Session(Requests):
    """The options of a command line, and the gateway to the program."""

    def __init__(self, target: str, user: str = "", raw: bool = False, output: str = "",
                 flags: Iterable[str] = ()) -> None:
        super().__init__(target, user)
        self.flags = frozenset(flags)
        self.raw = raw
        self.output = output
        self.values: dict[str, str] = {}  # of options that take one, by their names
        self.overlays: list[str] = []  # files to be laid over a document, in order
        self._version = target + "/share/mailvane/version"
        self._settings = target + "/share/mailvane/settings.json"

    def action(self, name: str, more: Iterable[str] = ()) -> Action:
        """The action of this name; Usage, with similar names, also of `more`, when there is none."""
        known = [*self.reference.names(), *SUBCOMMANDS]
        if name not in known:
            raise Usage("no action or subcommand %s%s; `mailvanectl help` lists them" % (
                name, did_you_mean(name, [*known, *more])))
        return self.reference.action(name)

    def settings(self) -> dict[str, dict]:
        """What there is to say about each setting, by its name."""
        with open(self._settings, encoding="ascii") as file:
            return json.load(file)

    def version(self) -> str:
        """The version of the package; empty when unknown."""
        try:
            with open(self._version, encoding="ascii") as file:
                return file.read().strip()
        except FileNotFoundError:
            return ""

    @staticmethod
    def subcommand_names() -> list[str]:
        """Names of the subcommands, without loading their modules."""
        return list(SUBCOMMANDS)

    @staticmethod
    def subcommand(name: str) -> ModuleType | None:
        """The module of a subcommand; None for another name."""
        return importlib.import_module(SUBCOMMANDS[name][0]) if name in SUBCOMMANDS else None
