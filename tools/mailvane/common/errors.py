"""How what was asked for fails."""


class Usage(Exception):
    """The command line asks for something that cannot be; nothing was sent."""


class NoAnswer(Exception):
    """The program ended without an answer; what the system log has about it."""

    def __init__(self, what: str, lines: list[str] | None = None) -> None:
        super().__init__(what)
        self.lines = lines or []


class Refused(Exception):
    """What was asked for is not done, and nothing has changed; what the system log has about it."""

    def __init__(self, why: str, lines: list[str] | None = None) -> None:
        super().__init__(why)
        self.lines = lines or []
