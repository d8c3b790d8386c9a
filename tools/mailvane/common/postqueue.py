"""The queue of a mail server: by its configuration directory, or by default the machine's own."""
import json

from mailvane.common.programs import checked

POSTQUEUE = "/usr/sbin/postqueue"


def command(configuration: str = "") -> list[str]:
    """The beginning of a postqueue command."""
    return [POSTQUEUE, *(["-c", configuration] if configuration else [])]


def waiting(configuration: str = "") -> list[dict]:
    """The messages in the queue; Refused when postqueue fails."""
    lines = checked([*command(configuration), "-j"]).splitlines()
    return [json.loads(line) for line in lines if line]


def flush(configuration: str = "") -> None:
    """Tries to deliver everything now; Refused when postqueue fails."""
    checked([*command(configuration), "-f"])
