"""The table of daemons, as `hald_service table` prints it: names, services, units, pid files."""
import json
import os
import subprocess
from typing import Any

from mailvane.common import paths

TARGET = paths.PACKAGE + "/target"


def table(target: str = TARGET) -> list[dict[str, Any]]:
    """All daemons in the order of their start; none when the package is not installed."""
    tool = target + "/bin/hald_service"
    if not os.path.exists(tool):
        return []
    done = subprocess.run([tool, "table"], check=True, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE)
    daemons: list[dict[str, Any]] = json.loads(done.stdout)["daemons"]
    return daemons


def named(name: str) -> dict[str, Any]:
    """The daemon of this name."""
    return next(daemon for daemon in table() if daemon["name"] == name)


def mail(target: str = TARGET) -> list[dict[str, Any]]:
    """The daemons of the mail service, which are handed over together."""
    return [daemon for daemon in table(target) if daemon["is_mail"]]


def mail_services(target: str = TARGET) -> list[str]:
    """The names of their control scripts, without duplicates, in the order of their start. The mail
    server comes last, after the filters that it calls."""
    return list(dict.fromkeys(daemon["service"] for daemon in mail(target)))
