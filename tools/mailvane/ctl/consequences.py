"""Warnings about consequences of a change that was made."""
from collections.abc import Callable

from mailvane.common.reference import Action
from mailvane.ctl import alias_members
from mailvane.ctl.session import Session

SCANS = "anti_virus_enable"


def of(session: Session, action: Action, members: dict) -> Callable[[], list[str]]:
    """A function that returns the warnings; to be called after the change. Made before it, since
    the warnings may depend on the state before."""
    if action.name == alias_members.ACTION:
        return lambda: alias_members.unknown(session, members.get("member", []))
    if members.get(SCANS) is True and not _scans_already():
        return lambda: _without_signatures(session)
    return list


def _scans_already() -> bool:
    from mailvane.common import settings
    return settings.stored().get(SCANS) == "yes"


def _without_signatures(session: Session) -> list[str]:
    checks = session.gateway().read("mailvane_check", {}).json().get("settings", [])
    if any(one["key"] == "virus_signatures" and one["status"] == "FAILED" for one in checks):
        return ["mail is refused for the time being (451) until there are virus signatures: "
                "mailvanectl fresh_clam fetches them, mailvanectl check tells how it stands"]
    return []
