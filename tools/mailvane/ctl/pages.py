"""Lists by pages: how much of one is asked for, and what is said when there is more."""
from mailvane.common.reference import Action

LIMIT = "limit"
USUAL = 50  # rows


def first(action: Action, given: dict) -> dict:
    """What is sent for a list of which no number of rows was asked: the program would give none, or
    as many as it likes."""
    if action.kind != "read" or LIMIT not in action.members:
        return given
    return {LIMIT: USUAL, **given}


class Note:
    """Says of an answer to some parameters that the list has more."""

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
