"""Handing the machine's mail over to the package, and back. Every step can be repeated, so that a
run after an interruption starts again from the first."""
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

# Debian's mail commands and unit need an /etc/postfix/main.cf, even where Postfix was never
# configured.
MADE_MAIN = b"""\
# Made by mailvane-setup, which removes it again, for the mail commands of this machine. What the
# mail server itself reads is generated, and limits the size of messages.
compatibility_level = 3.6
message_size_limit = 0
"""


def begin(state: State, findings: Findings | None, companions: list) -> None:
    """Stores all that is needed to give the machine back; `companions` are the other services that
    are stopped."""
    state.store(state=ADOPTING, since=_now(), units=units.states(tuple(companions)), made={},
                companions=companions)
    state.store(files=originals.keep(state.originals, findings.tables if findings else []))


def take_over(state: State, target: str, program: Program, findings: Findings | None) -> None:
    """Hands the mail over: with findings, these are stored as settings; without, the stored
    settings are used. The mail server is off until everything is stored; other servers keep
    their mail for us meanwhile."""
    units.give_way(state.values["units"], tuple(state.values["companions"]))
    was_configured = os.path.exists(postfix.MAIN)
    if not was_configured:
        _make_main(state)
    # Until domains and aliases are stored, the old mail server may start, but not the package's.
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
    """Gives the machine back, whatever state it is in. Returns the files that have changed since,
    and the folder with their originals. After a step that fails the next ones are still done."""
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
    with contextlib.suppress(Refused):  # without a running mail server nothing is tried
        postqueue.flush()


def _import(target: str, program: Program, findings: Findings) -> None:
    """Stores the findings by ordinary requests."""
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
