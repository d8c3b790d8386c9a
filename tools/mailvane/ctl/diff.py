"""mailvanectl diff FILE [--overlay FILE]... [--prune] [--secrets FILE] [--json]: what a document would
change, in words and as a unified diff. FILE may be - for standard input.

Exit status: 0 when nothing differs, 1 when something does, 2 when the document cannot be used:
standard error then has a line for each fault, with the line of the document. What the document does
not mention stays, and is no difference; with --prune it goes, within the sections that it has."""
from mailvane.common import display
from mailvane.common.errors import Refused, Usage
from mailvane.ctl import answers, document, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--overlay", "--prune", "--secrets", "--json"}

SAME, DIFFERS, UNUSABLE = 0, 1, 2


def run(session: Session, words: list[str]) -> int:
    """Prints the differences."""
    upkeep.require_root()
    if len(words) != 1:
        raise Usage("diff takes one file")
    try:
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
        document.print_difference(outcome, words[0])
    return DIFFERS if outcome["changes"] else SAME
