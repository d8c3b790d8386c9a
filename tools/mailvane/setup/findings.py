"""Findings on a machine: what is taken over, what is not, and what speaks against handing over."""


class Findings:
    """Settings by page, lists, and lines to be shown to the administrator."""

    def __init__(self) -> None:
        self.smtp: dict = {}
        self.relay: dict = {}
        self.mailboxes: dict = {}
        self.domains: list[str] = []
        self.aliases: dict[str, list[str]] = {}  # members by name
        self.port_logins = False                 # people log in on the port of other servers
        self.certificate: tuple[str, str] | None = None  # paths of certificate and key
        self.left: list[str] = []                # not taken over
        self.stops: list[str] = []               # why mail would not be seen any more
        self.conflicts: list[str] = []           # why mail would reach somebody else
        self.tables: list[str] = []              # texts of tables outside of /etc/postfix
        self.defaults: list[str] = []            # servers with an unchanged configuration
        self.postfix_values: list[str] = []

    def leave(self, line: str) -> None:
        """Adds a line about what is not taken over."""
        if line not in self.left:
            self.left.append(line)

    def against(self, keeps_settings: bool) -> list[str]:
        """What speaks against handing over. With the stored settings kept, conflicts of aliases do
        not count."""
        return self.stops + ([] if keeps_settings else self.conflicts)

    def stop(self, line: str) -> None:
        """Adds a line about mail that would not be seen any more."""
        if line not in self.stops:
            self.stops.append(line)
