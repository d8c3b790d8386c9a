"""mailvanectl complete WORD...: what the last word can become, one a line; asked by the shell."""
from mailvane.common.errors import Usage
from mailvane.common.reference import Action
from mailvane.ctl import answers
from mailvane.ctl.session import Session

WITH_VALUE = ("--as", "-o", "--output")
EVERYWHERE = ["--as", "--raw", "--output", "--help"]


def run(session: Session, words: list[str]) -> int:
    """Prints the candidates."""
    *before, last = words or [""]
    for candidate in candidates(session, before, last):
        if candidate.startswith(last):
            print(candidate)
    return answers.DONE


def candidates(session: Session, before: list[str], last: str) -> list[str]:
    """Every word that could stand at the end."""
    before = [word for word in before if not word.startswith("--") or word in WITH_VALUE]
    while before and before[0] in WITH_VALUE:
        before = before[2:]
    if last.startswith("-"):
        module = session.subcommand(before[0]) if before else None
        return [*EVERYWHERE, *sorted(getattr(module, "OPTIONS", ()))]
    if not before:
        return [*session.reference.names(), *session.subcommand_names()]
    try:
        return _behind(session, before, last)
    except Usage:
        return []


def _behind(session: Session, before: list[str], last: str) -> list[str]:
    first, rest = before[0], before[1:]
    if first == "help":
        return [] if rest else [*session.reference.names(), *session.subcommand_names(),
                                *session.settings()]
    if first == "edit":
        pages = session.reference.pages()
        if not rest:
            return list(pages)
        return _members(session.reference.action(pages.get(rest[0], "")), last)
    module = session.subcommand(first)
    if module:
        return module.candidates(rest) if hasattr(module, "candidates") else []
    return _members(session.reference.action(first), last)


def _members(action: Action, last: str) -> list[str]:
    name, equals, _ = last.partition("=")
    if not equals:
        return [member + "=" for member in action.members]
    switch = action.member(name).type == "boolean"
    return [name + "=" + word for word in (("yes", "no") if switch else ())]
