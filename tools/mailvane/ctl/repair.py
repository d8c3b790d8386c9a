"""mailvanectl repair [--from FILE] [--require-signature KEY]: brings lists back whose database is
missing or damaged: as they are in an archive of `mailvanectl backup`, or empty.

Their entries stay in force until then, and no change of them is taken. What is left of a damaged
database is kept beside it. Databases that are whole are not touched. With the file of a public key,
the archive must be signed by the private one."""
import os

from mailvane.common.audit import audited
from mailvane.common.errors import Usage
from mailvane.ctl import answers, archive, restore, stored_files, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--from", "--require-signature", "--yes"}


def run(session: Session, words: list[str]) -> int:
    """Repairs."""
    upkeep.require_root()
    if words:
        raise Usage("repair takes no %s" % words[0])
    source = session.values.get("--from")
    if not source:
        upkeep.confirm(session, "Begin lists that are lost anew, with no entries?")
    with audited("repair", ["lists"]):
        if source:
            _from_archive(source, session.values.get("--require-signature"))
        else:
            upkeep.configure("repair")
    print("the lists can be changed again")
    return answers.DONE


def _from_archive(path: str, key: str | None) -> None:
    state = archive.read(path, key)
    with restore.staging() as folder:
        for name, mode in stored_files.DATABASES.items():
            restore.put(os.path.join(folder, name), state.files[name], mode)
        os.sync()
        upkeep.configure("repair", folder)
