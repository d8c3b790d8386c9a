"""mailvanectl dkim VERB: the key pairs that sign mail.

  list [--json]  the pairs by their dates, and which one signs
  restore DATE   makes an earlier pair the one that signs; the present one is kept in its turn

The record of the pair has to be published first: see `mailvanectl dns`."""
import hashlib
import os
import re

from mailvane.common import display, files, paths
from mailvane.common.audit import audited
from mailvane.common.errors import Refused
from mailvane.ctl import answers, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--json"}

FOLDER = paths.ETC + "/dkim.key"
PAIR = re.compile(r"pair-(\d{8}T\d{6}Z(?:-\d{1,3})?)")


def run(session: Session, words: list[str]) -> int:
    """Runs one verb."""
    return upkeep.dispatch(session, words, VERBS, "dkim")


def candidates(before: list[str]) -> list[str]:
    """The words that can follow, for completion."""
    if not before:
        return list(VERBS)
    return [pair["date"] for pair in _pairs()] if before == ["restore"] else []


def public_key(path: str = FOLDER + "/dkim.public") -> str:
    """A public key in one line, as in the DNS; empty when there is none."""
    return "".join(line for line in files.lines_of(path) if not line.startswith("-----"))


def _pairs() -> list[dict]:
    link = FOLDER + "/pair"
    signing = os.readlink(link) if os.path.islink(link) else ""
    found = filter(None, map(PAIR.fullmatch, sorted(os.listdir(FOLDER))))
    return [{"date": pair[1], "signs": pair[0] == signing,
             "key": _fingerprint("%s/%s/dkim.public" % (FOLDER, pair[0]))} for pair in found]


def _fingerprint(path: str) -> str:
    return hashlib.sha256(public_key(path).encode()).hexdigest()[:16]


def _list(session: Session) -> int:
    pairs = _pairs()
    if "--json" in session.flags:
        display.print_json(pairs)
        return answers.DONE
    display.print_table(("DATE", "KEY", ""), [(pair["date"], pair["key"],
                                             "signs" if pair["signs"] else "") for pair in pairs])
    return answers.DONE


def _restore(_session: Session, date: str) -> int:
    with audited("dkim restore", ["dkim.key"]):
        if date not in [pair["date"] for pair in _pairs()]:
            raise Refused("there is no pair of that date")
        upkeep.configure("dkim", "pair-" + date)
    print("the pair of %s signs now; `mailvanectl dns` prints its record" % date)
    return answers.DONE


VERBS: upkeep.Verbs = {
    "list": (_list, 0, 0),
    "restore": (_restore, 1, 1),
}
