"""mailvanectl quarantine VERB: mail that the scanner has kept aside.

  list [--json]  what is there: id, date, size, sender, recipients, subject
  show ID        the message as it came
  release ID     delivers it to its recipients; it stays in the quarantine until its time is over
  delete ID      removes it for good"""
from __future__ import annotations

import gzip
import os
import shutil
import stat
import string
import sys
import zlib

from mailvane.common import display, programs
from mailvane.common.audit import audited
from mailvane.common.errors import Refused
from mailvane.ctl import answers, upkeep
from mailvane.ctl.session import Session

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import IO

OPTIONS = {"--json"}

FOLDER = "/var/lib/mailvane/quarantine"
RELEASE = ["/usr/bin/setpriv", "--reuid=amavis", "--regid=amavis", "--init-groups", "--reset-env",
           "--", "/usr/sbin/amavisd-release"]
ID_SIGNS = set(string.ascii_letters + string.digits + "_+-.")
LONGEST_ID = 80
HEAD = 1 << 16  # bytes read to find a message's header


def run(session: Session, words: list[str]) -> int:
    """Runs one verb."""
    return upkeep.dispatch(session, words, VERBS, "quarantine")


def candidates(before: list[str]) -> list[str]:
    """The words that can follow, for completion."""
    if not before:
        return list(VERBS)
    return _ids() if before[0] in ("show", "release", "delete") and len(before) == 1 else []


def _is_id(name: str) -> bool:
    return bool(name) and not set(name) - ID_SIGNS and name[0] not in ".-" and \
        len(name) <= LONGEST_ID


def _ids() -> list[str]:
    try:
        return sorted(name for name in os.listdir(FOLDER) if _is_id(name))
    except OSError:
        return []


def _open(name: str) -> IO[bytes]:
    """Opens a message. Links are not followed, since the scanner's user could have made them."""
    if not _is_id(name):
        raise Refused("%s is no id of a message" % display.plain(name))
    try:
        descriptor = os.open(os.path.join(FOLDER, name),
                             os.O_RDONLY | os.O_NOFOLLOW | os.O_NONBLOCK | os.O_CLOEXEC)
    except OSError as problem:
        raise Refused("no message %s is kept" % name) from problem
    file = os.fdopen(descriptor, "rb")
    if not stat.S_ISREG(os.fstat(descriptor).st_mode):
        file.close()
        raise Refused("no message %s is kept" % name)
    return file


def _text_of(name: str, file: IO[bytes]) -> IO[bytes] | gzip.GzipFile:
    return gzip.GzipFile(fileobj=file) if name.endswith(".gz") else file


def _list(session: Session) -> int:
    messages = sorted((_about(name) for name in _ids()), key=lambda about: about["date"])
    if "--json" in session.flags:
        display.print_json(messages)
        return answers.DONE
    display.print_table(
        ("ID", "DATE", "SIZE", "SENDER", "RECIPIENTS", "SUBJECT"),
        [(about["id"], display.date_text(about["date"]), display.size_text(about["size"]),
          about["sender"], ", ".join(about["recipients"]), about["subject"])
         for about in messages])
    return answers.DONE


def _about(name: str) -> dict:
    with _open(name) as file:
        info = os.fstat(file.fileno())
        head = _header(name, file)
    recipients = [one.strip(" <>") for one in head.get("X-Envelope-To", "").split(",")]
    return {
        "id": name,
        "date": int(info.st_mtime),
        "size": info.st_size,
        "sender": head.get("X-Envelope-From", "").strip(" <>"),
        "recipients": [one for one in recipients if one],
        "subject": _subject(head.get("Subject", "")),
        "score": head.get("X-Spam-Score", ""),
    }


def _header(name: str, file: IO[bytes]) -> dict[str, str]:
    import email.parser
    import email.policy
    try:
        text = _text_of(name, file).read(HEAD)
    except (OSError, EOFError, zlib.error):
        text = b""  # still being written, or damaged
    parser = email.parser.BytesHeaderParser(policy=email.policy.compat32)
    return {key: " ".join(str(value).split()) for key, value in parser.parsebytes(text).items()}


def _subject(text: str) -> str:
    import email.header
    try:
        return str(email.header.make_header(email.header.decode_header(text)))
    except (ValueError, LookupError):
        return text


def _show(_session: Session, name: str) -> int:
    with audited("quarantine show", [name]), _open(name) as file:
        try:
            _print(_text_of(name, file))
        except (EOFError, zlib.error, gzip.BadGzipFile) as problem:
            raise Refused("the message is damaged") from problem
    return answers.DONE


def _print(text: IO[bytes] | gzip.GzipFile) -> None:
    if not sys.stdout.isatty():
        shutil.copyfileobj(text, sys.stdout.buffer)
        return
    for line in text:  # control characters could change the terminal
        print(display.plain(line.decode(errors="replace").rstrip("\r\n").replace("\t", "    ")))


def _release(_session: Session, name: str) -> int:
    with audited("quarantine release", [name]):
        _open(name).close()
        status, output, errors = programs.run([*RELEASE, name])
        reply = display.last_line(output + errors)  # it writes to standard error
        if status != 0 or not reply.startswith("250 "):
            raise Refused("the scanner does not release it: " + (reply or "no answer"))
    print("%s is on its way to its recipients; it stays in the quarantine too" % name)
    return answers.DONE


def _delete(_session: Session, name: str) -> int:
    with audited("quarantine delete", [name]):
        _open(name).close()
        os.unlink(os.path.join(FOLDER, name))
    print("%s is deleted" % name)
    return answers.DONE


VERBS: upkeep.Verbs = {
    "list": (_list, 0, 0),
    "show": (_show, 1, 1),
    "release": (_release, 1, 1),
    "delete": (_delete, 1, 1),
}
