"""mailvanectl history [--json]: what changed when and by whom, the newest first, as far as it is kept.

Of each generation: its number, when it was made, by whom (-: the machine itself) and by which action;
the settings that differ from the one before by their names, and which lists or files were made anew.
`mailvanectl show N` prints one as a document, `mailvanectl diff N M` what lies between two. Each change
also leaves a line in the system log, which goes back further: journalctl --grep audit:"""
from mailvane.common import display
from mailvane.common.errors import Usage
from mailvane.ctl import answers, generations, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--json"}


def run(session: Session, words: list[str]) -> int:
    """Prints the history."""
    upkeep.require_root()
    if words:
        raise Usage("history takes no words")
    kept = generations.kept(session)[::-1]
    if "--json" in session.flags:
        display.print_json(kept)
        return answers.DONE
    for one in kept:
        print(display.plain("%d  %s  %s  %s%s" % (
            one["number"], display.date_text(one["date"]), one["who"] or "-", one["action"] or "-",
            "  (in force)" if one["in_force"] else "")))
        for name in ("settings", "files"):
            if one[name]:
                print(display.plain("    %s: %s" % (name, ", ".join(one[name]))))
    return answers.DONE
