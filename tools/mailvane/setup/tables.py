"""Texts of Postfix's lookup tables, parsed line by line."""

MADE_FROM_TEXT = ("hash", "btree", "dbm", "sdbm", "cdb", "lmdb", "texthash")


class Unreadable(Exception):
    """The table is not made from a text file, or the file cannot be read."""


def source_of(table: str) -> str:
    """The path of the text file of a table."""
    kind, colon, path = table.removeprefix("proxy:").partition(":")
    if not colon or kind not in MADE_FROM_TEXT:
        # An inline table may have a password in it, so only its type is shown.
        shown = table if path.startswith("/") else kind + ":..."
        raise Unreadable("%s is not made from a text" % shown)
    return path


def text_of(path: str) -> str:
    """The text of a file."""
    try:
        with open(path, encoding="utf-8", errors="surrogateescape") as file:
            return file.read()
    except OSError as problem:
        raise Unreadable("%s: %s" % (path, problem.strerror)) from problem


def logical_lines(text: str) -> list[str]:
    """Lines without comments; a line that begins with a blank continues the previous one."""
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
    """The members of a list, separated by commas outside of quotes; quotes are removed."""
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
