"""What was found on a machine: what is taken over, what is not, and what speaks against it."""


class Findings:
    """Members of the pages by name, lists, and lines for the administrator."""

    def __init__(self) -> None:
        self.smtp: dict = {}
        self.relay: dict = {}
        self.mailboxes: dict = {}
        self.domains: list[str] = []
        self.aliases: dict[str, list[str]] = {}  # members by name
        self.certificate: tuple[str, str] | None = None  # files of certificate and key
        self.port_logins = False                 # people log in on the port of other servers
        self.left: list[str] = []                # what is not taken over
        self.stops: list[str] = []               # why mail would not be seen any more
        self.conflicts: list[str] = []           # why mail would reach somebody else
        self.tables: list[str] = []              # texts outside of /etc/postfix that were read
        self.defaults: list[str] = []            # servers that nobody has configured
        self.postfix_values: list[str] = []

    def leave(self, line: str) -> None:
        """Something is not taken over."""
        if line not in self.left:
            self.left.append(line)

    def against(self, keeps_settings: bool) -> list[str]:
        """All that speaks against it; what is not taken over misleads no mail."""
        return self.stops + ([] if keeps_settings else self.conflicts)

    def stop(self, line: str) -> None:
        """Mail would not be seen any more."""
        if line not in self.stops:
            self.stops.append(line)
