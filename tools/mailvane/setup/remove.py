"""mailvane-setup remove: gives the machine's mail back to its own servers."""
from mailvane.common.audit import audited
from mailvane.common.errors import Usage
from mailvane.setup import app, handover
from mailvane.setup.run import between_steps

WORDS = "[--yes]"
SUMMARY = "gives the machine's mail back to its own servers; mail stays"
OPTIONS = ["yes"]


def run(session: app.Session, options: set[str], words: list[str]) -> int:
    """Asks, gives the machine back, and lists the files that have changed meanwhile."""
    if words:
        raise Usage("remove takes no %s" % words[0])
    if not session.state.exists():
        return app.DONE
    if "--yes" not in options and not session.confirm(
            "Stop our mail services and start those that ran before?"):
        app.complain("nothing was changed; say --yes, or yes at a terminal")
        return app.ASKED
    with between_steps(), audited("setup remove"):
        changed, folder = handover.give_back(session.state, session.target)
    print("The machine's mail is served by its own servers again.")
    for path in changed:
        print("Changed since it was handed over, and left as it is: " + path)
    if folder:
        print("All files as they were then are in " + folder)
    return app.DONE
