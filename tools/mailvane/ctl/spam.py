"""mailvanectl spam VERB: what the spam filter has learned (Bayes).

  learn spam|ham PLACE…  teaches it messages: files, folders of a Maildir, or - for standard input
  forget PLACE…          takes back what it was taught by these messages
  status [--json]        what it has learned, and whether that counts
  reset                  forgets everything"""
from __future__ import annotations

import contextlib
import os
import pwd
import re
import shutil
import stat
import sys
import tempfile

from mailvane.common import display, paths, programs
from mailvane.common.audit import audited
from mailvane.common.errors import Refused, Usage
from mailvane.ctl import answers, upkeep
from mailvane.ctl.session import Session

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Iterator

OPTIONS = {"--json", "--yes"}

USER = "amavis"
LEARNER = ["/usr/bin/setpriv", "--reuid=" + USER, "--regid=" + USER, "--init-groups", "--reset-env",
           "--", paths.PACKAGE + "/target/scripts/spam_learner.sh"]
STORE = "/var/lib/amavis/.spamassassin/bayes_toks"
KINDS = ("spam", "ham")
ENOUGH = 200  # messages of either kind, before the filter uses what it has learned
MOST, LARGEST = 5000, 512 * 1024  # messages at once; bytes of a message, larger ones are left out
MAGIC = re.compile(r"^0\.000\s+0\s+(\d+)\s+0\s+non-token data: (.+)$", re.MULTILINE)


def run(session: Session, words: list[str]) -> int:
    """Runs one verb."""
    return upkeep.dispatch(session, words, VERBS, "spam")


def candidates(before: list[str]) -> list[str]:
    """The words that can follow, for completion."""
    if not before:
        return list(VERBS)
    return list(KINDS) if before == ["learn"] else []


def _messages(places: tuple[str, ...]) -> Iterator[str]:
    """The files of some places; those of folders are found as they lie in a Maildir."""
    for place in places:
        if not os.path.isdir(place):
            yield place
            continue
        parts = [os.path.join(place, name) for name in ("cur", "new")]
        for folder in [part for part in parts if os.path.isdir(part)] or [place]:
            yield from (entry.path for entry in os.scandir(folder)
                        if entry.is_file(follow_symlinks=False))


def _bytes_of(path: str) -> bytes | None:
    """A message; None for one that is too large. Links are not followed: users could have made
    them in their folders."""
    if path == "-":
        data = sys.stdin.buffer.read(LARGEST + 1)
        return data if len(data) <= LARGEST else None
    try:
        descriptor = os.open(path, os.O_RDONLY | os.O_NOFOLLOW | os.O_NONBLOCK | os.O_CLOEXEC)
    except OSError as problem:
        raise Refused("%s: %s" % (display.plain(path), problem.strerror)) from problem
    with os.fdopen(descriptor, "rb") as file:
        if not stat.S_ISREG(os.fstat(descriptor).st_mode):
            raise Refused("%s is no message" % display.plain(path))
        data = file.read(LARGEST + 1)
        return data if len(data) <= LARGEST else None


@contextlib.contextmanager
def _copies(places: tuple[str, ...]) -> Iterator[tuple[str, int]]:
    """A folder with copies of the messages that the filter's user can read, and how many were left
    out."""
    owner = pwd.getpwnam(USER)
    folder = tempfile.mkdtemp(prefix="mailvane-learn.")
    left_out = 0
    try:
        os.chown(folder, owner.pw_uid, owner.pw_gid)
        for number, path in enumerate(_messages(places)):
            data = _bytes_of(path) if number < MOST else None
            if data is None:
                left_out += 1
                continue
            with open(os.path.join(folder, str(number)), "wb") as copy:
                copy.write(data)
                os.fchown(copy.fileno(), owner.pw_uid, owner.pw_gid)
        if not os.listdir(folder):
            raise Refused("there is no message")
        yield folder, left_out
    finally:
        shutil.rmtree(folder, ignore_errors=True)


def _teach(how: str, places: tuple[str, ...]) -> int:
    with audited("spam " + how, places), _copies(places) as (folder, left_out):
        output = programs.checked([*LEARNER, "--" + how, folder])
    print(display.last_line(output))
    if left_out:
        print("left out, of more than %s or above %d at once: %d" % (
            display.size_text(LARGEST), MOST, left_out))
    return answers.DONE


def _learn(_session: Session, kind: str, *places: str) -> int:
    if kind not in KINDS:
        raise Usage("learn takes spam or ham, and messages")
    return _teach(kind, places)


def _forget(_session: Session, *places: str) -> int:
    return _teach("forget", places)


def learned() -> dict[str, int]:
    """How many messages and words the filter knows, and of when."""
    told = programs.checked([*LEARNER, "--dump", "magic"]) if os.path.exists(STORE) else ""
    found = {name: int(value) for value, name in MAGIC.findall(told)}
    return {"spam": found.get("nspam", 0), "ham": found.get("nham", 0),
            "words": found.get("ntokens", 0), "oldest": found.get("oldest atime", 0),
            "newest": found.get("newest atime", 0)}


def _status(session: Session) -> int:
    state = learned()
    enough = min(state["spam"], state["ham"]) >= ENOUGH
    used = bool(session.value("load_spam_config")["spam_bayes"])
    if "--json" in session.flags:
        display.print_json(dict(state, enough=enough, used=used))
        return answers.DONE
    for name in ("spam", "ham", "words"):
        print("%-8s %d" % (name, state[name]))
    if state["words"]:
        print("of       %s to %s" % (display.date_text(state["oldest"]),
                                     display.date_text(state["newest"])))
    print("It counts." if enough and used else
          "It does not count: spam_bayes is off." if enough else
          "It does not count before there are %d messages of either kind%s." % (
              ENOUGH, "" if used else ", and spam_bayes is on"))
    return answers.DONE


def _reset(session: Session) -> int:
    upkeep.confirm(session, "The spam filter forgets all that it has learned.")
    with audited("spam reset"):
        programs.checked([*LEARNER, "--clear"])
    print("the spam filter has forgotten everything")
    return answers.DONE


VERBS: upkeep.Verbs = {
    "learn": (_learn, 2, MOST),
    "forget": (_forget, 1, MOST),
    "status": (_status, 0, 0),
    "reset": (_reset, 0, 0),
}
