"""The machine's units: which of them give way to ours, drop-ins, states before and after."""
import os

from setup import files
from setup.run import attempt, output

DROP_INS = {"dovecot.service": "dovecot.service.conf",
            "postfix@-.service": "postfix@-.service.conf"}
MAIL = ("postfix.service", "postfix@-.service", "dovecot.socket", "dovecot.service")
# Filters of which we run instances of our own.
FILTERS = ("amavis.service", "amavis-mc.service", "opendkim.service", "opendmarc.service",
           "clamav-daemon.socket", "clamav-daemon.service", "clamav-freshclam.service")
OVERRIDES = "/etc/systemd/system"
OUR_SERVICES = ("amavis", "amavisd-milter", "antivirus", "clamd", "maillog", "memcached",
                "opendkim", "opendmarc")


def has_systemd():
    """Whether systemd runs this machine."""
    return os.path.isdir("/run/systemd/system")


def states():
    """What each unit is: whether enabled for the next boot, and whether active."""
    ours = ["mailvane-%s.service" % name for name in OUR_SERVICES]
    found = {}
    for unit in (*MAIL, *FILTERS, *ours):
        enabled = attempt("systemctl", "is-enabled", unit)[1].strip()
        if enabled and enabled != "not-found":
            found[unit] = {"enabled": enabled,
                           "active": attempt("systemctl", "is-active", "--quiet", unit)[0] == 0}
    return found


def give_way(before):
    """Stops the machine's own daemons. Filters are not started at the next boot either; for the
    mail servers that is up to the stored settings."""
    present = [unit for unit in (*MAIL, *FILTERS) if unit in before]
    output("systemctl", "stop", *present)
    _disable([unit for unit in FILTERS if before.get(unit, {}).get("enabled") == "enabled"])


def filters_to_stop(before):
    """Names of running filters that give way."""
    return [unit for unit in FILTERS if before.get(unit, {}).get("active")]


def restore(before):
    """Brings all units to the states that they had."""
    now = states()
    _disable([unit for unit, was in before.items()
              if was["enabled"] == "disabled" and now.get(unit, was)["enabled"] == "enabled"])
    enable = [unit for unit, was in before.items()
              if was["enabled"] == "enabled" and now.get(unit, was)["enabled"] == "disabled"]
    if enable:
        output("systemctl", "--quiet", "enable", *enable)
    start = [unit for unit, was in before.items() if was["active"] and unit in now]
    if start:
        output("systemctl", "start", *start)


def place_drop_in(target, unit):
    """Makes the unit run with the generated configuration."""
    folder = "%s/%s.d" % (OVERRIDES, unit)
    os.makedirs(folder, 0o755, exist_ok=True)
    with open("%s/systemd/overrides/%s" % (target, DROP_INS[unit]), "rb") as file:
        files.replace(folder + "/mailvane.conf", file.read())
    output("systemctl", "daemon-reload")


def remove_drop_ins():
    """Makes the units run as their packages brought them."""
    for unit in DROP_INS:
        folder = "%s/%s.d" % (OVERRIDES, unit)
        files.remove(folder + "/mailvane.conf")
        try:
            os.rmdir(folder)
        except OSError:
            pass  # not there, or the administrator has drop-ins of his own
    output("systemctl", "daemon-reload")


def _disable(names):
    if names:
        output("systemctl", "--quiet", "disable", *names)
