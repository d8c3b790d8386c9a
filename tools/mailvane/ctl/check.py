"""mailvanectl check [--json]: the self-check as a table, the worst first.

Of each check its status, its name, and, of what is not right, why; below the table what to do. The
exit status is 1 when a check is FAILED, WARNING or UNKNOWN. What is checked stands in
self_check.md."""
from mailvane.common import display
from mailvane.common.errors import Usage
from mailvane.common.texts import Texts
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
    if answers.judged(action, answer, value, session.texts) != answers.DONE:
        return answers.REFUSED
    why = reasons(answer.log.warnings())
    checks = [{**one, "title": session.texts.text("checks", "titles", one["key"]),
               "reason": why.get(one["key"], ""), "do": next_step(session.texts, one)}
              for one in value["settings"]]
    checks.sort(key=lambda one: WORST_FIRST.index(one["status"]))
    if "--json" in session.flags:
        display.print_json(checks)
    else:
        display.print_table(("STATUS", "CHECK", "REASON"),
                           [(one["status"], one["key"], one["reason"]) for one in checks])
        wrong = [one for one in checks if one["status"] not in FINE]
        if wrong:
            print("\nWhat to do:")
        for one in wrong:
            print("  %s: %s" % (one["key"], one["do"]))
    return answers.DONE if all(one["status"] in FINE for one in checks) else answers.REFUSED


def next_step(texts: Texts, check: dict) -> str:
    """What to do about a check; "" when it is OK."""
    do = texts.text("checks", "do", check["key"])
    if check["status"] == "OK":
        return ""
    general = texts.text("checks", "any", check["status"].lower(), do=do)
    return general.strip() or do


def reasons(lines: list[str]) -> dict[str, str]:
    """The reason of each check, from lines as "self-check: dns_mx is FAILED: example.com has no …".
    """
    found = {}
    for line in lines:
        about, _, reason = line.removeprefix(MARK).partition(": ")
        if line.startswith(MARK):
            found[about.partition(" is ")[0]] = reason
    return found
