"""The daemons of the package, as its own table has them: names, services, units, pid files."""
import json
import os
import subprocess
from typing import Any

from mailvane.common import paths

TARGET = paths.PACKAGE + "/target"


def table(target: str = TARGET) -> list[dict[str, Any]]:
    """Every daemon, in the order in which they start; none where the package is not there."""
    tool = target + "/bin/hald_service"
    if not os.path.exists(tool):
        return []
    done = subprocess.run([tool, "table"], check=True, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE)
    daemons: list[dict[str, Any]] = json.loads(done.stdout)["daemons"]
    return daemons


def named(name: str) -> dict[str, Any]:
    """The daemon of a name."""
    return next(daemon for daemon in table() if daemon["name"] == name)


def mail(target: str = TARGET) -> list[dict[str, Any]]:
    """Those that serve mail, and are handed over together."""
    return [daemon for daemon in table(target) if daemon["is_mail"]]


def mail_services(target: str = TARGET) -> list[str]:
    """The control scripts of those, each once, in the order in which they start: the mail server
    comes when all that it asks is there."""
    return list(dict.fromkeys(daemon["service"] for daemon in mail(target)))
