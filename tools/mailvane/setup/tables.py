"""Lookup tables that are made from texts: the texts, line by line."""

MADE_FROM_TEXT = ("hash", "btree", "dbm", "sdbm", "cdb", "lmdb", "texthash")


class Unreadable(Exception):
    """A table that is not made from a text, or whose text cannot be read."""


def source_of(table: str) -> str:
    """The text that a table is made from."""
    kind, colon, path = table.removeprefix("proxy:").partition(":")
    if not colon or kind not in MADE_FROM_TEXT:
        # What stands in the parameter itself may be a password.
        shown = table if path.startswith("/") else kind + ":..."
        raise Unreadable("%s is not made from a text" % shown)
    return path


def text_of(path: str) -> str:
    """What stands in a text file."""
    try:
        with open(path, encoding="utf-8", errors="surrogateescape") as file:
            return file.read()
    except OSError as problem:
        raise Unreadable("%s: %s" % (path, problem.strerror)) from problem


def logical_lines(text: str) -> list[str]:
    """Lines without comments; those that begin with a blank go on from the one before."""
    lines: list[str] = []
    for line in text.splitlines():
        if not line.strip() or line.lstrip().startswith("#"):
            continue
        if line[0].isspace() and lines:
            lines[-1] += " " + line.strip()
        else:
            lines.append(line.strip())
    return lines


def rows(text: str) -> list[tuple[str, str]]:
    """Key and value of each line of a map."""
    return [(key, value.strip()) for key, _, value in
            (line.replace("\t", " ").partition(" ") for line in logical_lines(text))]


def alias_rows(text: str) -> list[tuple[str, list[str]]]:
    """Name and members of each line "name: member, member"."""
    found = []
    for line in logical_lines(text):
        name, colon, value = _split_name(line)
        if colon:
            found.append((name.strip().strip('"'), members(value)))
    return found


def members(text: str) -> list[str]:
    """The members of a list that commas separate outside of quotes, without the quotes."""
    items, quoted = [""], False
    for sign in text:
        if sign == '"':
            quoted = not quoted
        elif sign == "," and not quoted:
            items.append("")
        else:
            items[-1] += sign
    return [item.strip() for item in items if item.strip()]


def _split_name(line: str) -> tuple[str, str, str]:
    if line.startswith('"'):
        name, quote, rest = line[1:].partition('"')
        if quote:
            return (name, *rest.partition(":")[1:])
    return line.partition(":")
