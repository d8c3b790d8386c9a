"""mailvanectl check [--json]: the self-check as a table, the worst first.

Of each check its status, its name, and, of what is not right, why. The exit status is 1 when a check
is FAILED, WARNING or UNKNOWN. What is checked stands in self_check.md."""
from mailvane.common import display
from mailvane.common.errors import Usage
from mailvane.ctl import answers, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--json"}

WORST_FIRST = ("FAILED", "WARNING", "UNKNOWN", "OK", "OFF")
FINE = ("OK", "OFF")
MARK = "self-check: "


def run(session: Session, words: list[str]) -> int:
    """Runs the checks and prints them."""
    upkeep.require_root()
    if words:
        raise Usage("check takes no words")
    action = session.reference.action("mailvane_check")
    answer = session.gateway().read(action.name, {})
    value = answer.json()
    if answers.judged(action, answer, value) != answers.DONE:
        return answers.REFUSED
    why = reasons(answer.log.warnings())
    checks = [{**one, "reason": why.get(one["key"], "")} for one in value["settings"]]
    checks.sort(key=lambda one: WORST_FIRST.index(one["status"]))
    if "--json" in session.flags:
        display.print_json(checks)
    else:
        display.print_table(("STATUS", "CHECK", "REASON"),
                           [(one["status"], one["key"], one["reason"]) for one in checks])
    return answers.DONE if all(one["status"] in FINE for one in checks) else answers.REFUSED


def reasons(lines: list[str]) -> dict[str, str]:
    """The reason of each check, from lines as "self-check: dns_mx is FAILED: example.com has no …".
    """
    found = {}
    for line in lines:
        about, _, reason = line.removeprefix(MARK).partition(": ")
        if line.startswith(MARK):
            found[about.partition(" is ")[0]] = reason
    return found
