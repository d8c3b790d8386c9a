"""systemd units of the machine: replacing them by the package's, drop-ins, and their previous
states."""
import os
from collections.abc import Sequence

from mailvane.common import daemons, files
from mailvane.setup.run import output

DROP_INS = ("dovecot.service", "postfix@-.service")  # in the order of installation
MAIL = ("postfix.service", "postfix@-.service", "dovecot.socket", "dovecot.service")
# Filters of which the package runs its own instances.
FILTERS = ("amavis.service", "amavis-mc.service", "opendkim.service", "opendmarc.service",
           "clamav-daemon.socket", "clamav-daemon.service", "clamav-freshclam.service")
OVERRIDES = "/etc/systemd/system"
WITHOUT_UNIT = "generated"  # from a script in /etc/init.d, so it cannot be disabled by a link


def has_systemd() -> bool:
    """Whether systemd runs this machine."""
    return os.path.isdir("/run/systemd/system")


def states(more: tuple = ()) -> dict:
    """The states of the mail services' units, and of the units `more`: whether enabled for the
    boot, and whether active."""
    ours = [daemon["unit"] for daemon in daemons.mail() if daemon["unit"].startswith("mailvane-")]
    names = (*MAIL, *FILTERS, *ours, *more)
    return parse(output("systemctl", "show", "--property=Id,LoadState,UnitFileState,ActiveState",
                        *names))


def parse(text: str) -> dict[str, dict]:
    """Parses `systemctl show`: states by name, of the units that exist."""
    found = {}
    for block in text.split("\n\n"):
        row = dict(line.split("=", 1) for line in block.splitlines() if "=" in line)
        if row.get("LoadState") in ("loaded", "masked"):
            found[row["Id"]] = {"enabled": row["UnitFileState"],
                                "active": row["ActiveState"] in ("active", "activating")}
    return found


def give_way(before: dict, companions: tuple = ()) -> None:
    """Stops the machine's own daemons and the companions, and disables them for the boot. The mail
    servers' units stay enabled as the stored settings ask."""
    others = (*FILTERS, *companions)
    _switch("disable", [unit for unit in others if _is(before, unit, "enabled")])
    _switch("mask", [unit for unit in companions if _is(before, unit, WITHOUT_UNIT)])
    for group in (others, MAIL):
        output("systemctl", "stop", *(unit for unit in group if unit in before))


def filters_to_stop(before: dict[str, dict]) -> list[str]:
    """Names of the running filters that are to be stopped."""
    return [unit for unit in FILTERS if before.get(unit, {}).get("active")]


def restore(before: dict[str, dict]) -> None:
    """Brings all units back to their previous states."""
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
        # Scripts in /etc/init.d keep their links.
        output("env", "SYSTEMCTL_SKIP_SYSV=1", "systemctl", "--quiet", verb, *names)


def place_drop_ins(target: str, *names: str) -> None:
    """Installs drop-ins, so that the units use the generated configuration."""
    for unit in names:
        folder = "%s/%s.d" % (OVERRIDES, unit)
        os.makedirs(folder, 0o755, exist_ok=True)
        with open("%s/systemd/overrides/%s.conf" % (target, unit), "rb") as file:
            files.replace(folder + "/mailvane.conf", file.read())
    output("systemctl", "daemon-reload")


def remove_drop_ins() -> None:
    """Removes the drop-ins."""
    for unit in DROP_INS:
        folder = "%s/%s.d" % (OVERRIDES, unit)
        files.remove(folder + "/mailvane.conf")
        try:
            os.rmdir(folder)
        except OSError:
            pass  # missing, or with other drop-ins of the administrator
    output("systemctl", "daemon-reload")

