"""mailvanectl complete WORD...: what the last word can become, one a line; asked by the shell."""
from ctl import answers
from ctl.reference import Usage

WORDS = "WORD…"
SUMMARY = "what the last word can become, for the shell"
OPTIONS = ["--as", "--raw", "--output", "--help"]


def run(session, words):
    """Prints the candidates."""
    *before, last = words or [""]
    for candidate in candidates(session, before, last):
        if candidate.startswith(last):
            print(candidate)
    return answers.DONE


def candidates(session, before, last):
    """Every word that could stand at the end."""
    before = [word for word in before if word != "--raw"]
    while before and before[0] in ("--as", "-o", "--output"):
        before = before[2:]
    if last.startswith("-"):
        return OPTIONS
    if not before:
        return [*session.reference.names(), *(name for name, _ in session.subcommands())]
    try:
        return _behind(session, before, last)
    except Usage:
        return []


def _behind(session, before, last):
    first, rest = before[0], before[1:]
    if first == "help":
        return [] if rest else [*session.reference.names(), *(
            name for name, _ in session.subcommands())]
    if first == "edit":
        pages = session.reference.pages()
        if not rest:
            return list(pages)
        return _members(session.reference.action(pages.get(rest[0], "")), last)
    return _members(session.reference.action(first), last)


def _members(action, last):
    name, equals, _ = last.partition("=")
    if not equals:
        return [member + "=" for member in action.members]
    switch = action.member(name).type == "boolean"
    return [name + "=" + word for word in (("yes", "no") if switch else ())]
