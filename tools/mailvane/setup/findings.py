"""What was found on a machine: what is taken over, what is not, and what speaks against it."""


class Findings:
    """Members of the pages by name, lists, and lines for the administrator."""

    def __init__(self):
        self.smtp, self.relay, self.mailboxes = {}, {}, {}
        self.domains = []
        self.aliases = {}       # members by name
        self.certificate = ()   # files of certificate and key
        self.left = []          # what is not taken over
        self.stops = []         # why mail would not be seen any more
        self.conflicts = []     # why mail would reach somebody else
        self.tables = []        # texts outside of /etc/postfix that were read
        self.defaults = []      # servers that nobody has configured
        self.postfix_values = []

    def leave(self, line):
        """Something is not taken over."""
        if line not in self.left:
            self.left.append(line)

    def against(self, keeps_settings):
        """All that speaks against it; what is not taken over misleads no mail."""
        return self.stops + ([] if keeps_settings else self.conflicts)

    def stop(self, line):
        """Mail would not be seen any more."""
        if line not in self.stops:
            self.stops.append(line)
