"""Exceptions for requests that fail."""


class Usage(Exception):
    """The command line is wrong; nothing was sent."""


class NoAnswer(Exception):
    """The program ended without an answer. `lines` are its lines in the system log."""

    def __init__(self, what: str, lines: list[str] | None = None) -> None:
        super().__init__(what)
        self.lines = lines or []


class Refused(Exception):
    """The request was refused, and nothing has changed. `lines` are its lines in the system log."""

    def __init__(self, why: str, lines: list[str] | None = None) -> None:
        super().__init__(why)
        self.lines = lines or []
