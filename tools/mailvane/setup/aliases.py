"""Takes over the aliases of the machine's own Postfix, where sales@a.example and sales@b.example
may differ. Here an alias is the same in every domain."""
import re
from collections.abc import Callable, Iterator

from mailvane.setup import tables
from mailvane.setup.domains import Domains
from mailvane.setup.findings import Findings
from mailvane.setup.postfix import Postfix

NAME = re.compile(r"[A-Za-z0-9_](?!.*\.\.)[A-Za-z0-9._+=&'~$-]{0,63}(?<!\.)")
OUTSIDE = re.compile(r"[A-Za-z0-9_][!-?A-~]{0,63}@[A-Za-z0-9.-]+\.[A-Za-z0-9-]+")
ROLES = ("postmaster", "abuse", "root")  # go to the administrator unless they are aliases


class Routing:
    """The aliases of the old configuration."""

    def __init__(self, domains: Domains, is_user: Callable[[str], bool]) -> None:
        self.domains = domains
        self.is_user = is_user
        # Members by name, from /etc/aliases.
        self.local: dict[str, list[str]] = {}
        # Members by name, from virtual maps, for all local domains.
        self.bare: dict[str, list[str]] = {}
        # Members by name and domain, from virtual maps.
        self.full: dict[tuple[str, str], list[str]] = {}

    def names(self) -> dict[str, None]:
        """All names that have an alias anywhere."""
        return dict.fromkeys([*self.local, *self.bare, *(name for name, _ in self.full)])

    def target(self, name: str, domain: str) -> list[str] | None:
        """The members that an address stands for; None when there is no such address."""
        if (name, domain) in self.full:
            return self.full[name, domain]
        if domain not in self.domains.local:
            return None
        if name in self.bare:
            return self.bare[name]
        if name in self.local:
            return self.local[name]
        return [name] if self.is_user(name) else None

    def targets(self, name: str) -> dict[str, list[str]]:
        """The members of a name by domain; domains without are left out."""
        found = {domain: self.target(name, domain) for domain in self.domains.all()}
        if name in self.local and not self.domains.local:
            found["localhost"] = self.local[name]
        return {domain: own for domain, own in found.items() if own is not None}


def find(postfix: Postfix, routing: Routing, findings: Findings) -> None:
    """Reads the alias tables of a configuration."""
    for table, text in _texts(postfix, "alias_maps", findings):
        for name, own in tables.alias_rows(text):
            routing.local.setdefault(name.lower(), _plain(own, routing.domains))
    for table, text in _texts(postfix, "virtual_alias_maps", findings):
        for key, value in tables.rows(text):
            _take_virtual(routing, table, key.lower(), tables.members(value), findings)


def take_over(routing: Routing, administrator: str, findings: Findings) -> None:
    """Finds the aliases that replace the old ones."""
    names = routing.names()
    for name in names:
        by_domain = routing.targets(name)
        if not by_domain:
            continue
        main = by_domain.get(routing.domains.main) or next(iter(by_domain.values()))
        if any(set(own) != set(main) for own in by_domain.values()):
            findings.conflicts.append("%s is not the same everywhere: %s" % (name, "; ".join(
                "at %s it is %s" % (domain, ", ".join(own))
                for domain, own in by_domain.items())))
        _take_alias(routing, name, main, administrator, findings)


def text(aliases: dict[str, list[str]]) -> str:
    """The aliases in the format of the import."""
    return "".join("%s: %s\n" % (name, ", ".join(own)) for name, own in aliases.items())


def _texts(postfix: Postfix, parameter: str, findings: Findings) -> Iterator[tuple[str, str]]:
    """The tables of a parameter, each with its text."""
    for table in postfix.words(parameter):
        try:
            path = tables.source_of(table)
            yield table, tables.text_of(path)
        except tables.Unreadable as problem:
            findings.leave("%s: %s" % (parameter, problem))
        else:
            findings.tables.append(path)


def _take_virtual(routing: Routing, table: str, key: str, own: list[str],
                  findings: Findings) -> None:
    name, at, domain = key.rpartition("@")
    if not at:
        if key not in routing.domains.virtual and key not in routing.domains.local:
            routing.bare.setdefault(key, _plain(own, routing.domains))
    elif not name:
        findings.leave("%s: %s: mail to every name of a domain" % (table, key))
    elif domain not in routing.domains.all():
        findings.leave("%s: %s: %s is no domain of this server" % (table, key, domain))
    else:
        routing.full.setdefault((name, domain), _plain(own, routing.domains))


def _plain(own: list[str], domains: Domains) -> list[str]:
    """The members; those in a domain of this server without the domain."""
    found = []
    for member in own:
        name, _, domain = member.rpartition("@")
        is_own = NAME.fullmatch(name) and "+" not in name and domain.lower() in domains.all()
        found.append(name.lower() if is_own else member)
    return found


def _take_alias(routing: Routing, name: str, own: list[str], administrator: str,
                findings: Findings) -> None:
    if own == [name]:
        return  # the user of that name
    if not NAME.fullmatch(name):
        findings.leave("alias %s: no name that an alias can have" % name)
        return
    kept = []
    for member in own:
        taken = _member(routing, member, administrator)
        if taken:
            kept.append(taken)
        else:
            findings.leave("alias %s: %s" % (name, member))
    if kept and not (name in ROLES and kept == [administrator] and own != kept):
        findings.aliases[name] = list(dict.fromkeys(kept))


def _member(routing: Routing, member: str, administrator: str) -> str:
    """A member in the package's spelling; "" for one that it cannot have: a program, a file, an
    account that gets no mail."""
    if "@" in member:
        return member if OUTSIDE.fullmatch(member) else ""
    name = member.removeprefix("\\")
    if not NAME.fullmatch(name):
        return ""
    if name.lower() in routing.names() or routing.is_user(name):
        return member
    return administrator if name in ROLES else ""
