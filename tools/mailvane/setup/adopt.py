"""mailvane-setup adopt: shows what would change, then hands the machine's mail over."""
from mailvane.common.administrators import first_administrator
from mailvane.common.audit import audited
from mailvane.common.errors import Usage
from mailvane.setup import app, companions, handover, postfix, reach, report, shipped, units
from mailvane.setup.findings import Findings
from mailvane.setup.program import Program
from mailvane.setup.run import Failed, between_steps
from mailvane.setup.state import ADOPTED
from mailvane.setup.survey import survey

WORDS = "[--dry-run | --yes] [--force] [--keep-settings]"
SUMMARY = "takes over the machine's mail, with what its own servers were told"
OPTIONS = ["dry-run", "yes", "force", "keep-settings"]


def run(session: app.Session, options: set[str], words: list[str]) -> int:
    """Surveys the machine, shows the plan, asks, and hands the mail over."""
    if words:
        raise Usage("adopt takes no %s" % words[0])
    if not units.has_systemd():
        raise Usage("this machine is not run by systemd")
    if session.state.phase() == ADOPTED:
        return _again(session)

    administrator = _administrator()
    _end_interrupted(session, options)
    program = Program(session.target, administrator)
    packages = shipped.came_along()
    findings = survey(administrator, packages)
    states = units.states(tuple(companion.unit for companion in companions.KNOWN))
    ends, stays = companions.look(states, packages, findings.postfix_values)
    keeps_settings = "--keep-settings" in options
    reached = reach.show(reach.planned(program, None if keeps_settings else findings))
    print("\n".join([
        *report.show(findings, keeps_settings, program.text_of),
        *report.around(postfix.waiting(), units.filters_to_stop(states), ends, stays), "",
        *reached, *report.against(findings, keeps_settings)]))
    if findings.against(keeps_settings) and "--force" not in options:
        return app.UNSEEN
    if "--dry-run" in options:
        return app.DONE
    if not _agreed(session, options):
        return app.ASKED
    _take_over(session, program, None if keeps_settings else findings, ends)
    print("\nThe machine's mail is handed over. `mailvane-setup remove` gives it back.")
    now = reach.show(reach.planned(program, None))
    if now != reached:
        print("\n".join(["", *now]))
    return app.DONE


def _administrator() -> str:
    try:
        return first_administrator()
    except Usage as problem:
        raise Usage("there is no administrator yet; first: mailvane-setup admin NAME") from problem


def _agreed(session: app.Session, options: set[str]) -> bool | None:
    if "--yes" in options:
        return True
    print()
    answer = session.confirm("Go on?")
    if answer is None:
        app.complain("nothing was changed; say --yes, or yes at a terminal")
    return answer


def _end_interrupted(session: app.Session, options: set[str]) -> None:
    """Takes back an earlier run that was interrupted."""
    if session.state.exists() and "--dry-run" not in options:
        app.complain("an earlier run was cut short; the machine is given back first")
        with between_steps():
            handover.give_back(session.state, session.target)


def _take_over(session: app.Session, program: Program, findings: Findings | None,
               ends: list[str]) -> None:
    with between_steps(), audited("setup adopt"):
        try:
            handover.begin(session.state, findings, ends)
            handover.take_over(session.state, session.target, program, findings)
        except Exception as problem:
            app.complain("%s; what was changed is taken back" % problem)
            if session.state.exists():
                handover.give_back(session.state, session.target)
            raise Failed("the machine's own mail server runs as before") from problem


def _again(session: app.Session) -> int:
    """Updates the drop-ins after an upgrade, and starts services that do not run."""
    units.place_drop_ins(session.target, *units.DROP_INS)
    Program(session.target, "").start_services()
    print("The machine's mail was handed over already: since %s." % session.state.values["since"])
    return app.DONE
