"""The machine's units: which of them give way to ours, drop-ins, states before and after."""
import os
from collections.abc import Sequence

from mailvane.common import daemons, files
from mailvane.setup.run import output

DROP_INS = ("dovecot.service", "postfix@-.service")  # in the order in which they are put in place
MAIL = ("postfix.service", "postfix@-.service", "dovecot.socket", "dovecot.service")
# Filters of which we run instances of our own.
FILTERS = ("amavis.service", "amavis-mc.service", "opendkim.service", "opendmarc.service",
           "clamav-daemon.socket", "clamav-daemon.service", "clamav-freshclam.service")
OVERRIDES = "/etc/systemd/system"
WITHOUT_UNIT = "generated"  # made at boot from a script in /etc/init.d: there is no link to remove


def has_systemd() -> bool:
    """Whether systemd runs this machine."""
    return os.path.isdir("/run/systemd/system")


def states(more: tuple = ()) -> dict:
    """What each unit is, and more than those of the mail services: whether enabled for the next
    boot, and whether active."""
    ours = [daemon["unit"] for daemon in daemons.mail() if daemon["unit"].startswith("mailvane-")]
    names = (*MAIL, *FILTERS, *ours, *more)
    return parse(output("systemctl", "show", "--property=Id,LoadState,UnitFileState,ActiveState",
                        *names))


def parse(text: str) -> dict[str, dict]:
    """From `systemctl show` to states by name, of the units that there are."""
    found = {}
    for block in text.split("\n\n"):
        row = dict(line.split("=", 1) for line in block.splitlines() if "=" in line)
        if row.get("LoadState") in ("loaded", "masked"):
            found[row["Id"]] = {"enabled": row["UnitFileState"],
                                "active": row["ActiveState"] in ("active", "activating")}
    return found


def give_way(before: dict, companions: tuple = ()) -> None:
    """Stops the machine's own daemons, and those that came along with packages. They are not
    started at the next boot either; for the mail servers that is up to the stored settings."""
    others = (*FILTERS, *companions)
    _switch("disable", [unit for unit in others if _is(before, unit, "enabled")])
    _switch("mask", [unit for unit in companions if _is(before, unit, WITHOUT_UNIT)])
    for group in (others, MAIL):
        output("systemctl", "stop", *(unit for unit in group if unit in before))


def filters_to_stop(before: dict[str, dict]) -> list[str]:
    """Names of running filters that give way."""
    return [unit for unit in FILTERS if before.get(unit, {}).get("active")]


def restore(before: dict[str, dict]) -> None:
    """Brings all units to the states that they had."""
    now = states(tuple(before))
    _switch("unmask", [unit for unit in now
                       if _is(before, unit, WITHOUT_UNIT) and _is(now, unit, "masked")])
    for verb, then in (("disable", "disabled"), ("enable", "enabled")):
        _switch(verb, [unit for unit in now
                       if _is(before, unit, then) and not _is(now, unit, then)])
    start = [unit for unit, was in before.items() if was["active"] and unit in now]
    if start:
        output("systemctl", "start", *start)


def _is(found: dict[str, dict], unit: str, wanted: str) -> bool:
    return found.get(unit, {}).get("enabled") == wanted


def _switch(verb: str, names: Sequence[str]) -> None:
    if names:
        # What stands in for units on machines of another kind stays.
        output("env", "SYSTEMCTL_SKIP_SYSV=1", "systemctl", "--quiet", verb, *names)


def place_drop_ins(target: str, *names: str) -> None:
    """Makes units run with the generated configuration."""
    for unit in names:
        folder = "%s/%s.d" % (OVERRIDES, unit)
        os.makedirs(folder, 0o755, exist_ok=True)
        with open("%s/systemd/overrides/%s.conf" % (target, unit), "rb") as file:
            files.replace(folder + "/mailvane.conf", file.read())
    output("systemctl", "daemon-reload")


def remove_drop_ins() -> None:
    """Makes the units run as their packages brought them."""
    for unit in DROP_INS:
        folder = "%s/%s.d" % (OVERRIDES, unit)
        files.remove(folder + "/mailvane.conf")
        try:
            os.rmdir(folder)
        except OSError:
            pass  # not there, or the administrator has drop-ins of his own
    output("systemctl", "daemon-reload")

