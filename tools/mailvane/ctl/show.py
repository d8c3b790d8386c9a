"""mailvanectl show GENERATION: prints a generation that is kept as a document, in the form of an export.

GENERATION is a number that `mailvanectl history` lists. A generation holds settings, mail domains,
blocklists and the address that gets a copy of all mail; the head of the document names what it does not
hold. Passwords are named only. `mailvanectl apply FILE --prune` brings back what the document has."""
from mailvane.common import paths
from mailvane.common.errors import Usage
from mailvane.ctl import answers, generations, upkeep
from mailvane.ctl.session import Session

OPTIONS: set[str] = set()

candidates = generations.candidates


def run(_session: Session, words: list[str]) -> int:
    """Prints the document."""
    upkeep.require_root()
    if len(words) != 1 or not generations.is_number(words[0]):
        raise Usage("show takes the number of a generation")
    print(upkeep.run_tool(paths.DOCUMENT_TOOL, "show", words[0]), end="")
    return answers.DONE
