"""Companions: services that Debian starts when it installs the package's dependencies, and that the
package does not use. They are stopped unless somebody else wanted them."""
import os

from mailvane.common import files
from mailvane.setup import shipped

ENABLED_BY_PACKAGE = "/var/lib/systemd/deb-systemd-helper-enabled/%s.dsh-also"
OWN_UNITS = "/etc/systemd/system/"


class Companion:
    """A companion: its package (and service), its own folders, and the files that the package's
    scripts make, each with the file that it is made from."""

    def __init__(self, package: str, folders: tuple[str, ...] = (),
                 made: dict[str, str] | None = None, named_as: str = "") -> None:
        self.package, self.unit = package, package + ".service"
        self.folders, self.made = folders, made or {}
        self.named_as = named_as  # a word in Postfix's settings that shows its use


KNOWN = (
    Companion("lighttpd", ("/etc/lighttpd", "/var/www"), {
        "/etc/lighttpd/conf-enabled/99-unconfigured.conf":
            "/etc/lighttpd/conf-available/99-unconfigured.conf",
        "/etc/lighttpd/conf-enabled/90-javascript-alias.conf":
            "/etc/lighttpd/conf-available/90-javascript-alias.conf",
        "/var/www/html/index.lighttpd.html": "/usr/share/lighttpd/index.html"}),
    Companion("memcached", (), {
        "/etc/memcached.conf": "/usr/share/memcached/memcached.conf.default"}),
    Companion("spamd"),
    Companion("postfix-mta-sts-resolver", named_as=":8461"),
    Companion("amavisd-milter", named_as="amavisd-milter"))


def look(states: dict, packages: set, postfix_values: list) -> tuple:
    """Which companions' units to stop, and why others are kept, by unit. `states` are those of all
    known units, `packages` those that came with mailvane, `postfix_values` the settings of
    Postfix."""
    ends, stays = [], {}
    conffiles = shipped.conffiles()
    for companion in KNOWN:
        state = states.get(companion.unit)
        if not state or not (state["active"] or _starts_at_boot(state)):
            continue
        changed = _first_changed(companion, conffiles)
        why = _who_wants(companion, state, packages, postfix_values)
        if why or changed:
            stays[companion.unit] = why or changed + " is not as its package brought it"
        else:
            ends.append(companion.unit)
    return ends, stays


def _starts_at_boot(state: dict) -> bool:
    return state["enabled"] in ("enabled", "generated")


def _who_wants(companion: Companion, state: dict, packages: set[str],
               postfix_values: list[str]) -> str:
    """Why somebody else wanted a service; "" when nobody did."""
    if companion.package not in packages:
        return "its package did not come with mailvane alone"
    if not _starts_at_boot(state) or state["enabled"] == "enabled" and not os.path.exists(
            ENABLED_BY_PACKAGE % companion.unit):
        return "it was not its package that started it"
    if companion.named_as and any(companion.named_as in value for value in postfix_values):
        return "the machine's Postfix was told to use it"
    return ""


def _first_changed(companion: Companion, conffiles: dict[str, tuple[str, str]]) -> str:
    """A file that somebody has changed, added or removed; "" when there is none."""
    tops = tuple(folder + "/" for folder in companion.folders)
    brought = {path for path, (package, _) in conffiles.items()
               if package == companion.package or path.startswith(tops)}
    for path in sorted(brought):
        if not shipped.is_as_brought(path, conffiles[path][1]):
            return path
    made = companion.made
    for folder in (*companion.folders, OWN_UNITS + companion.unit + ".d"):
        for path in shipped.files_below(folder):
            if path not in brought and path not in made:
                return path
    for path, source in made.items():
        if os.path.exists(path) and files.content(path) != files.content(source):
            return path
    own = OWN_UNITS + companion.unit
    return own if os.path.lexists(own) else ""
