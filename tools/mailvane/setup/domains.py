"""Takes over the domains for which the machine's own Postfix accepts mail."""
import os

from mailvane.common.files import content
from mailvane.setup import tables
from mailvane.setup.findings import Findings
from mailvane.setup.postfix import Postfix


class Domains:
    """Domains of the machine's users, domains with aliases only, the main domain, and the host
    name."""

    def __init__(self, local: list[str], virtual: list[str], main: str, hostname: str) -> None:
        self.local, self.virtual, self.main, self.hostname = local, virtual, main, hostname

    def all(self) -> list[str]:
        """All domains without duplicates, the main one first."""
        return list(dict.fromkeys(filter(None, [self.main, self.hostname, *self.local,
                                                *self.virtual])))


def find(postfix: Postfix, findings: Findings) -> Domains:
    """The domains of a configuration."""
    hostname = postfix.text("myhostname").lower()
    local = _entries(postfix, "mydestination", findings)
    virtual = [name for name in _entries(postfix, "virtual_alias_domains", findings)
               if name not in local]
    return Domains(local, virtual, _main(postfix, local, virtual), hostname)


def take_over(domains: Domains, findings: Findings) -> None:
    """Finds the host name and the settings of the domains."""
    findings.smtp["smtp_hostname"] = domains.hostname
    main = "" if domains.main == domains.hostname else domains.main
    findings.smtp["acc_domain_name"] = main
    findings.domains = [name for name in domains.all() if name not in (main, domains.hostname)]
    if domains.virtual:
        findings.leave("virtual_alias_domains: users, too, get mail at %s"
                       % ", ".join(domains.virtual))


def _main(postfix: Postfix, local: list[str], virtual: list[str]) -> str:
    """The domain of the users' addresses."""
    origin = postfix.text("myorigin")
    if os.path.isabs(origin):
        origin = (content(origin) or b"").decode(errors="replace").strip().partition("\n")[0]
    hostname = postfix.text("myhostname").lower()
    for name in (origin.lower(), postfix.text("mydomain").lower(), hostname):
        if name in local:
            return name
    return (local or virtual or [""])[0]


def _entries(postfix: Postfix, parameter: str, findings: Findings) -> list[str]:
    """Fully qualified domain names of a list, which may refer to files and maps."""
    found = []
    for word in postfix.words(parameter):
        try:
            found += _names(word)
        except tables.Unreadable as problem:
            findings.leave("%s: %s" % (parameter, problem))
    return list(dict.fromkeys(name for name in found if _is_full(name)))


def _names(word: str) -> list[str]:
    if word.startswith("/"):
        return tables.text_of(word).lower().split()
    if ":" in word:
        path = tables.source_of(word)
        return [key.lower() for key, _ in tables.rows(tables.text_of(path))]
    if word.startswith("!"):
        raise tables.Unreadable("an exception: " + word)
    return [word.lower()]


def _is_full(name: str) -> bool:
    """Whether other machines can send mail to this domain: not to "localhost" or "office"."""
    last = name.rpartition(".")[2]
    return "." in name and "@" not in name and last not in ("localdomain", "localhost") and \
        not name.startswith(("localhost.", "["))
