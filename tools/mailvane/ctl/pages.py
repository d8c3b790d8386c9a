"""Lists that are shown in pages: the number of rows asked for, and a note when there are more."""
from mailvane.common.reference import Action

LIMIT = "limit"
USUAL = 50  # rows


def first(action: Action, given: dict) -> dict:
    """The parameters to send, with a number of rows when none was given: the program would return
    none, or all."""
    if action.kind != "read" or LIMIT not in action.members:
        return given
    return {LIMIT: USUAL, **given}


class Note:
    """Makes the note that a list has more rows than an answer."""

    def __init__(self, parameters: dict) -> None:
        self._limit = parameters.get(LIMIT, -1)
        self._start = parameters.get("start", 0)

    def __call__(self, value: dict) -> str:
        total = value.get("total", 0) if isinstance(value, dict) else 0
        end = max(self._start, 0) + self._limit
        if self._limit < 0 or end >= total:
            return ""
        return "%d of %d; the next with start=%d, more at a time with limit=…" % (
            self._limit, total, end)
