"""The steps from the machine's own mail server to ours, and the way back. Every step can be taken
again: a change that was cut short is gone through anew."""
import contextlib
import datetime
import hashlib
import os

from mailvane.common import files, postqueue
from mailvane.common.errors import Refused
from mailvane.setup import aliases, certificates, firewall, originals, postfix, units
from mailvane.setup.findings import Findings
from mailvane.setup.program import Program, stop_services
from mailvane.setup.run import Failed
from mailvane.setup.state import ADOPTED, ADOPTING, REMOVING, State

# Where Postfix was never configured, its mail commands and its unit ask for a main.cf all the same.
MADE_MAIN = b"""\
# Made by mailvane-setup, which removes it again, for the mail commands of this machine. What the
# mail server itself reads is generated, and limits the size of messages.
compatibility_level = 3.6
message_size_limit = 0
"""


def begin(state: State, findings: Findings | None, companions: list) -> None:
    """Remembers everything that is needed to give the machine back; `companions` are services that
    end beside those of the mail."""
    state.store(state=ADOPTING, since=_now(), units=units.states(tuple(companions)), made={},
                companions=companions)
    state.store(files=originals.keep(state.originals, findings.tables if findings else []))


def take_over(state: State, target: str, program: Program, findings: Findings | None) -> None:
    """Hands the machine's mail over; without findings with the settings that are stored. The mail
    server stays off until all that it needs to know is stored: meanwhile others keep what they have
    for us."""
    units.give_way(state.values["units"], tuple(state.values["companions"]))
    was_configured = os.path.exists(postfix.MAIN)
    if not was_configured:
        _make_main(state)
    # While ours does not know all domains and aliases, only the old one may start.
    units.place_drop_ins(target, *(units.DROP_INS[:1] if was_configured else units.DROP_INS))
    program.prepare({"smtp_enabled": "no"} if findings else {})
    if findings:
        if findings.port_logins:
            program.keep_port_logins()
        program.save("smtp", {**findings.smtp, "smtp_enabled": False})
        _import(target, program, findings)
    units.place_drop_ins(target, *units.DROP_INS)
    if findings:
        program.save("smtp", {**findings.smtp, "smtp_enabled": True})
    else:
        firewall.put_back(os.path.dirname(state.folder))
    program.start_services()
    state.store(state=ADOPTED)
    _try_queue()


def give_back(state: State, target: str) -> tuple[list[str], str]:
    """The way back, from wherever it was; gives the files that are not what they were, and the
    folder with their originals. A step that fails does not keep the next ones from being taken."""
    state.store(state=REMOVING)
    faults = stop_services(target)
    before = state.values.get("units", {})
    kept = state.values.get("files", {})
    for step in (units.remove_drop_ins, lambda: _remove_made(state),
                 lambda: firewall.lift(os.path.dirname(state.folder)),
                 lambda: units.restore(before)):
        try:
            step()
        except (Failed, OSError) as problem:
            faults.append(str(problem))
    if faults:
        raise Failed("; ".join(faults))
    changed = originals.changed(kept)
    folder = state.forget(keep_originals=bool(changed))
    _try_queue()
    return changed, folder


def _try_queue() -> None:
    with contextlib.suppress(Refused):  # where nobody takes mail, nothing is tried
        postqueue.flush()


def _import(target: str, program: Program, findings: Findings) -> None:
    """Stores what was found, by normal requests."""
    if findings.certificate:
        certificates.install(target, *findings.certificate)
    if findings.mailboxes:
        program.save("imap_pop3", findings.mailboxes)
    if findings.relay:
        program.save("relay", findings.relay)
    known = {row["domain"] for row in program.call("enum_domain", {})["items"]}
    for domain in findings.domains:
        if domain not in known:
            program.call("add_domain", {"domain": domain})
    if findings.aliases:
        program.upload("import_alias", aliases.text(findings.aliases))


def _make_main(state: State) -> None:
    state.store(made={postfix.MAIN: hashlib.sha256(MADE_MAIN).hexdigest()})
    files.replace(postfix.MAIN, MADE_MAIN)


def _remove_made(state: State) -> None:
    for path, digest in state.values.get("made", {}).items():
        if files.digest(path) == digest:
            files.remove(path)


def _now() -> str:
    return datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%d %H:%M:%S UTC")
