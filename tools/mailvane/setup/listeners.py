"""mailvane-setup listeners: which ports opened when the package was installed, and by what."""
import re

from mailvane.common.display import print_table
from mailvane.common.errors import Usage
from mailvane.common.files import content
from mailvane.setup import app, shipped, units
from mailvane.setup.run import attempt, output

WORDS = ""
SUMMARY = "which programs that came with the package listen on which ports"
OPTIONS: list[str] = []
ROW = re.compile(r'^LISTEN\s+\S+\s+\S+\s+(\S+):(\d+)\s.*users:\(\("([^"]*)",pid=(\d+)', re.M)


def run(_session: app.Session, _options: set[str], words: list[str]) -> int:
    """Prints the ports opened by packages that are installed only as dependencies of mailvane."""
    if words:
        raise Usage("listeners takes no %s" % words[0])
    rows = came_along() if units.has_systemd() else []
    if rows:
        print("Packages that came with mailvane have started these:")
        print_table(("PORT", "ADDRESSES", "PROGRAM", "PACKAGE"), rows)
        print("`mailvane-setup adopt` hands the mail over and ends those that nobody asked for.")
    return app.DONE


def came_along() -> list[tuple[int, str, str, str]]:
    """Port, addresses, program and package of each listener of such packages."""
    packages = shipped.came_along()
    found: dict[tuple[int, str, str], list[str]] = {}
    for address, port, program, process in parse(output("ss", "-Hltnp")):
        package = _package(process)
        if package in packages:
            found.setdefault((int(port), program, package), []).append(address)
    return [(port, " ".join(sorted(set(addresses))), program, package)
            for (port, program, package), addresses in sorted(found.items())]


def parse(text: str) -> list[tuple[str, str, str, str]]:
    """Address, port, program and process of each line of `ss -Hltnp`."""
    return ROW.findall(text)


def _package(process: str) -> str:
    """The package with the unit that a process belongs to; "" when there is none."""
    group = (content("/proc/%s/cgroup" % process) or b"").decode(errors="replace")
    unit = group.rstrip().rpartition("/")[2]
    if not unit.endswith(".service"):
        return ""
    paths = output("systemctl", "show", "--property=SourcePath,FragmentPath", unit)
    owners = [_owner(line.partition("=")[2]) for line in sorted(paths.splitlines(), reverse=True)]
    return next(filter(None, owners), "")


def _owner(path: str) -> str:
    status, text, _ = attempt("dpkg-query", "--search", path) if path else (1, "", "")
    return text.partition(":")[0] if status == 0 else ""
