"""mailvanectl repair: gives up lists whose database is missing or damaged, and begins them anew.

Their entries stay in force until then, and no change of them is taken. What is left of a damaged
database is kept beside it. Databases that are whole are not touched; `mailvanectl restore` brings
entries back afterwards."""
from mailvane.common.audit import audited
from mailvane.common.errors import Usage
from mailvane.ctl import answers, upkeep
from mailvane.ctl.session import Session


def run(session: Session, words: list[str]) -> int:
    """Repairs."""
    upkeep.require_root()
    if words:
        raise Usage("repair takes no %s" % words[0])
    upkeep.confirm(session, "Begin lists that are lost anew, with no entries?")
    with audited("repair", ["lists"]):
        upkeep.configure("repair")
    print("the lists can be changed again")
    return answers.DONE
