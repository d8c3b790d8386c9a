"""mailvanectl diff FILE [--overlay FILE]... [--prune] [--secrets FILE] [--json]: what a document would
change, in words and as a unified diff. FILE may be - for standard input.
mailvanectl diff ONE OTHER [--json]: what lies between two; each is a document or the number of a
generation, as `mailvanectl history` lists them. Sections that only one of them has are named, and are
no difference. ONE alone, as a number: what lies between the generation in force and that one.

Exit status: 0 when nothing differs, 1 when something does, 2 when the document cannot be used:
standard error then has a line for each fault, with the line of the document. What the document does
not mention stays, and is no difference; with --prune it goes, within the sections that it has."""
from mailvane.common import display
from mailvane.common.errors import Refused, Usage
from mailvane.ctl import answers, document, generations, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--overlay", "--prune", "--secrets", "--json"}

SAME, DIFFERS, UNUSABLE = 0, 1, 2


def run(session: Session, words: list[str]) -> int:
    """Prints the differences."""
    upkeep.require_root()
    if len(words) not in (1, 2):
        raise Usage("diff takes one file, or two files or generations")
    try:
        if len(words) == 2 or generations.is_number(words[0]):
            sides = words if len(words) == 2 else [_in_force(session), *words]
            outcome = document.between(session, sides)
        else:
            sides = ["stored", *words]
            outcome = document.carry(session, "compare", words[0])
    except Refused as problem:
        answers.explain(str(problem), problem.lines)
        return UNUSABLE
    except OSError as problem:
        answers.complain(str(problem))
        return UNUSABLE
    if "--json" in session.flags:
        display.print_json(outcome["changes"])
    else:
        for change in outcome["changes"]:
            print(document.words_about(change))
        document.print_difference(outcome, sides)
        _tell_left_out(outcome, sides)
    return DIFFERS if outcome["changes"] else SAME


def _in_force(session: Session) -> str:
    return next(str(one["number"]) for one in generations.kept(session) if one["in_force"])


def _tell_left_out(outcome: dict, sides: list[str]) -> None:
    """Says which sections only one of the sides has."""
    for side, sections in zip(sides, outcome.get("only", [])):
        if sections:
            answers.complain("not compared, since only %s has them: %s" % (
                display.plain(side), ", ".join(sections)))
