"""Output for a terminal: texts, tables, sizes, times."""
import json
import time
from collections.abc import Iterable, Sequence


def plain(text: str) -> str:
    """The text with characters that could control a terminal, or forge a log line, replaced by "?".
    """
    return "".join(sign if sign.isprintable() else "?" for sign in text)


def last_line(text: str) -> str:
    """The last line that is not blank."""
    lines = [line for line in text.splitlines() if line.strip()]
    return plain(lines[-1]) if lines else ""


def print_json(value: object) -> None:
    """Prints a value as indented JSON."""
    print(json.dumps(value, indent=2))


def print_table(head: Sequence[str], rows: Iterable[Sequence[object]]) -> None:
    """Prints rows in aligned columns; the last column has no fixed width."""
    texts = [[plain(str(cell)) for cell in row] for row in [head, *rows]]
    widths = [max(len(row[column]) for row in texts) for column in range(len(head) - 1)]
    for row in texts:
        cells = [cell.ljust(width) for cell, width in zip(row, widths)]
        print("  ".join([*cells, row[-1]]).rstrip())


def size_text(size: float) -> str:
    """A number of bytes with a unit: "2.5 MB"."""
    if size < 1024:
        return "%d B" % size
    for unit in ("KB", "MB"):
        size /= 1024
        if size < 1024:
            return "%.1f %s" % (size, unit)
    return "%.1f GB" % (size / 1024)


def age_text(then: float) -> str:
    """The time since `then` with a unit: "5 min"."""
    minutes = max(0, int(time.time() - then)) // 60
    if minutes < 60:
        return "%d min" % minutes
    return "%d h" % (minutes // 60) if minutes < 48 * 60 else "%d d" % (minutes // 1440)


def date_text(then: float) -> str:
    """A time in the machine's time zone."""
    return time.strftime("%Y-%m-%d %H:%M:%S", time.localtime(then))
