"""The queue of a mail server: that of a folder of configuration, or the machine's own."""
import json

from mailvane.common.programs import checked

POSTQUEUE = "/usr/sbin/postqueue"


def command(configuration: str = "") -> list[str]:
    """The queue's own tool."""
    return [POSTQUEUE, *(["-c", configuration] if configuration else [])]


def waiting(configuration: str = "") -> list[dict]:
    """The messages that wait; Refused when that cannot be told."""
    lines = checked([*command(configuration), "-j"]).splitlines()
    return [json.loads(line) for line in lines if line]


def flush(configuration: str = "") -> None:
    """Tries to deliver everything now; Refused when nobody takes that up."""
    checked([*command(configuration), "-f"])
