"""mailvanectl dkim VERB: the key pairs that sign mail.

  list [--json]  the pairs by their dates, and which one signs
  restore DATE   makes an earlier pair the one that signs; the present one is kept in its turn

The record of the pair has to be published first: see `mailvanectl dns`."""
import os

from mailvane.common import display, paths
from mailvane.common.audit import audited
from mailvane.ctl import answers, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--json"}

FOLDER = paths.ETC + "/dkim.key"
PAIR = "pair-"


def run(session: Session, words: list[str]) -> int:
    """Runs one verb."""
    return upkeep.dispatch(session, words, VERBS, "dkim")


def candidates(before: list[str]) -> list[str]:
    """The words that can follow, for completion."""
    if not before:
        return list(VERBS)
    names = sorted(os.listdir(FOLDER)) if before == ["restore"] else []
    return [name.removeprefix(PAIR) for name in names if name.startswith(PAIR)]


def _list(session: Session) -> int:
    pairs = session.told("dkim_list")["pairs"]
    if "--json" in session.flags:
        display.print_json(pairs)
        return answers.DONE
    display.print_table(("DATE", "KEY", ""), [(pair["date"], pair["key"],
                                             "signs" if pair["signs"] else "") for pair in pairs])
    return answers.DONE


def _restore(_session: Session, date: str) -> int:
    with audited("dkim restore", ["dkim.key"]):
        upkeep.configure("dkim", PAIR + date)
    print("the pair of %s signs now; `mailvanectl dns` prints its record" % date)
    return answers.DONE


VERBS: upkeep.Verbs = {
    "list": (_list, 0, 0),
    "restore": (_restore, 1, 1),
}
