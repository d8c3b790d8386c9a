"""Times on the command line: seconds since 1970, as the program takes them, or dates.

  2026-11-22                 its first second; of what ends something, its last
  2026-11-22T10:00[:SS]      that second
  2026-11-22T10:00+01:00, Z  in that zone; without one it is the machine's own. Of an hour that comes
                             twice when the clocks are put back, the first counts.
"""
import re

from mailvane.common.errors import Usage

DAY = r"\d{4}-\d\d-\d\d"
DATE = re.compile(DAY + r"([T ]\d\d:\d\d(:\d\d)?(Z|[+-]\d\d:\d\d)?)?")
EARLIEST = 10**8  # a smaller number is probably a year, or a date without dashes
BEGIN, END = "begin", "end"


def seconds(name: str, text: str, kind: str) -> str:
    """A time as decimal seconds since 1970; `kind` is BEGIN or END of a period. "" and "0" mean no
    bound."""
    if text in ("", "0"):
        return text
    if text.isascii() and text.isdigit() and len(text) <= 18 and int(text) >= EARLIEST:
        return text
    import datetime
    try:
        if not DATE.fullmatch(text):
            raise ValueError("not of that form")
        when = datetime.datetime.fromisoformat(text)
        if kind == END and re.fullmatch(DAY, text):
            when = when.replace(hour=23, minute=59, second=59)
        return str(int(when.timestamp()))
    except (ValueError, OverflowError) as problem:
        raise Usage("%s is a date such as 2026-11-22, a time such as 2026-11-22T10:00, or seconds "
                    "since 1970, not %s" % (name, text)) from problem
