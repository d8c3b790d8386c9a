"""What the system log has about one request or one run of the settings tool: the one place that
knows where such lines come from.

The program repeats its lines on standard error when it is asked to; so do its forks, which work on
the same request. These lines are therefore all of the request and none of anybody else, whatever
keeps the system log. Programs that it starts do not repeat theirs: what it makes of their output
and their end is among its own lines.
"""
import os
import re
import syslog
import sys

from mailvane.common.display import plain

ENVIRONMENT = {"MAILVANE_ECHO_LOG": "yes"}
LINE = re.compile(r"<(\d)>mailvane(?::\d+)?:? (.*)")
ABOUT_EVERY_CHANGE = "audit: "


class RequestLog:
    """The lines of one process, which gets `descriptor` as its standard error."""

    def __init__(self) -> None:
        self.descriptor = os.memfd_create("log")
        self._lines: list[tuple[int, str]] = []

    def end(self) -> None:
        """Takes the lines of a process that has ended."""
        with os.fdopen(self.descriptor, "rb") as file:
            file.seek(0)
            self._lines = parsed(file.read().decode(errors="replace"))

    def errors(self) -> list[str]:
        """Why something failed or was refused."""
        return [text for priority, text in self._lines if priority <= syslog.LOG_ERR]

    def warnings(self) -> list[str]:
        """What went well, but needs attention."""
        return [text for priority, text in self._lines if priority == syslog.LOG_WARNING]


def parsed(output: str) -> list[tuple[int, str]]:
    """Priorities and texts of the lines in a standard error. What else it holds goes on to this
    one's."""
    lines = []
    for line in output.splitlines():
        match = LINE.fullmatch(line)
        if not match:
            print(plain(line), file=sys.stderr)
        elif not match[2].startswith(ABOUT_EVERY_CHANGE):
            lines.append((int(match[1]), plain(match[2])))
    return lines
