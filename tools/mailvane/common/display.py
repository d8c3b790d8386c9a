"""How things look at a terminal: texts, tables, sizes, times."""
import json
import time
from collections.abc import Iterable, Sequence


def plain(text: str) -> str:
    """A text that does to a terminal and a log what it says, and no more."""
    return "".join(sign if sign.isprintable() else "?" for sign in text)


def last_line(text: str) -> str:
    """The last line that says something."""
    lines = [line for line in text.splitlines() if line.strip()]
    return plain(lines[-1]) if lines else ""


def print_json(value: object) -> None:
    """A value as indented JSON."""
    print(json.dumps(value, indent=2))


def print_table(head: Sequence[str], rows: Iterable[Sequence[object]]) -> None:
    """Rows of texts in columns; the last one is as long as it likes."""
    texts = [[plain(str(cell)) for cell in row] for row in [head, *rows]]
    widths = [max(len(row[column]) for row in texts) for column in range(len(head) - 1)]
    for row in texts:
        cells = [cell.ljust(width) for cell, width in zip(row, widths)]
        print("  ".join([*cells, row[-1]]).rstrip())


def size_text(size: float) -> str:
    """A number of bytes for people."""
    if size < 1024:
        return "%d B" % size
    for unit in ("KB", "MB"):
        size /= 1024
        if size < 1024:
            return "%.1f %s" % (size, unit)
    return "%.1f GB" % (size / 1024)


def age_text(then: float) -> str:
    """How long ago a time was, for people."""
    minutes = max(0, int(time.time() - then)) // 60
    if minutes < 60:
        return "%d min" % minutes
    return "%d h" % (minutes // 60) if minutes < 48 * 60 else "%d d" % (minutes // 1440)


def date_text(then: float) -> str:
    """A time in the machine's own zone."""
    return time.strftime("%Y-%m-%d %H:%M:%S", time.localtime(then))
