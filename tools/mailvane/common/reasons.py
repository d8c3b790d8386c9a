"""Why a request was refused, from the header X-Mailvane-Reason of its answer."""
from __future__ import annotations

import json

from mailvane.common.texts import Texts

TYPE_CHECKING = False
if TYPE_CHECKING:
    from mailvane.common.gateway import Answer

HEADER = "x-mailvane-reason"
GATE = "gate"


def told(answer: Answer, texts: Texts) -> list[str]:
    """A line for each reason of an answer, as "smtp_port (out_of_range): The number is …"."""
    return [_line(entry, texts) for entry in json.loads(answer.headers.get(HEADER, "[]"))]


def _line(entry: dict, texts: Texts) -> str:
    code = entry["code"]
    section = "gate" if entry.get("service") == GATE else "reasons"
    text = texts.text("reasons", section, code)
    return "%s (%s)%s" % (_about(entry, texts), code, ": " + text if text else "")


def _about(entry: dict, texts: Texts) -> str:
    for kind in ("list", "service"):
        if kind in entry:
            return texts.text("reasons", kind + "s", entry[kind]) or str(entry[kind])
    return "line %d" % entry["line"] if "line" in entry else str(entry["setting"])
