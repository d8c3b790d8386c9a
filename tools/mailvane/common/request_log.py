"""The log lines of one request, or of one run of the settings tool.

When asked to, the program and its forks repeat their log lines on standard error. So these are
exactly the lines of the request, whatever system log is installed. Programs that it starts do not
repeat theirs, but it logs their output and exit status itself."""
import os
import re
import syslog
import sys

from mailvane.common.display import plain

ENVIRONMENT = {"MAILVANE_ECHO_LOG": "yes"}
LINE = re.compile(r"<(\d)>mailvane(?::\d+)?:? (.*)")
ABOUT_EVERY_CHANGE = "audit: "


class RequestLog:
    """The log lines of one process, whose standard error is `descriptor`."""

    def __init__(self) -> None:
        self.descriptor = os.memfd_create("log")
        self._lines: list[tuple[int, str]] = []

    def end(self) -> None:
        """Reads the lines; to be called when the process has ended."""
        with os.fdopen(self.descriptor, "rb") as file:
            file.seek(0)
            self._lines = parsed(file.read().decode(errors="replace"))

    def errors(self) -> list[str]:
        """The lines about failures and refusals."""
        return [text for priority, text in self._lines if priority <= syslog.LOG_ERR]

    def warnings(self) -> list[str]:
        """The lines about what succeeded but needs attention."""
        return [text for priority, text in self._lines if priority == syslog.LOG_WARNING]


def parsed(output: str) -> list[tuple[int, str]]:
    """Priority and text of each log line in a standard error. Other lines are passed on to this
    process's standard error."""
    lines = []
    for line in output.splitlines():
        match = LINE.fullmatch(line)
        if not match:
            print(plain(line), file=sys.stderr)
        elif not match[2].startswith(ABOUT_EVERY_CHANGE):
            lines.append((int(match[1]), plain(match[2])))
    return lines
