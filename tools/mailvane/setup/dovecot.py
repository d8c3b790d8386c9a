"""Takes over the machine's own Dovecot: parses doveconf's output into the settings of the mailbox
page."""
import os

from mailvane.setup import shipped
from mailvane.setup.findings import Findings
from mailvane.setup.run import output

FOLDER = "/etc/dovecot"
MAIN = FOLDER + "/dovecot.conf"
MAILDIR = ("maildir:~/Maildir", "maildir:%h/Maildir")
SERVICES = ((("imap", False), ("imaps", True)), (("pop3", False), ("pop3s", True)))


class Section:
    """A block of the configuration: values by name, and inner blocks with their names."""

    def __init__(self) -> None:
        self.values: dict[str, str] = {}
        self.blocks: list[tuple[str, Section]] = []

    def named(self, name: str) -> "Section":
        """The first inner block of this name; an empty one when there is none."""
        return next((block for own, block in self.blocks if own == name), Section())

    def drivers(self, kind: str) -> list[str]:
        """The drivers of all inner blocks of a kind."""
        return [block.values.get("driver", "") for own, block in self.blocks
                if own.split()[:1] == [kind]]


def parse(text: str) -> Section:
    """Parses doveconf's output."""
    open_blocks = [Section()]
    for line in text.splitlines():
        line = line.strip()
        if line.endswith("{"):
            block = Section()
            open_blocks[-1].blocks.append((line[:-1].strip(), block))
            open_blocks.append(block)
        elif line == "}":
            open_blocks.pop()
        elif "=" in line and not line.startswith("#"):
            name, _, value = line.partition("=")
            open_blocks[-1].values[name.strip()] = value.strip()
    return open_blocks[0]


def read() -> Section | None:
    """The configuration in /etc/dovecot; None when it is as the packages installed it."""
    if not os.path.exists(MAIN) or untouched():
        return None
    return parse(output("doveconf", "-aP"))


def untouched(folder: str = FOLDER, digests_file: str = shipped.UCF_DIGESTS) -> bool:
    """Whether all files that Dovecot reads are as their packages installed them, with none added.
    Backup copies of editors and upgrades do not count."""
    brought = {path: digest for path, digest in shipped.digests_of_ucf(digests_file).items()
               if path.startswith(folder + "/")}
    added = [path for path in shipped.files_below(folder)
             if path.endswith(".conf") and path not in brought]
    return not added and all(shipped.is_as_brought(*pair) for pair in brought.items())


def take_over(dovecot: Section, findings: Findings, packages: set) -> None:
    """Finds the settings of the mailbox page, and what would make mail invisible. A protocol is on
    when its package is installed; POP3 stays off where its package only came as a dependency of
    mailvane."""
    _take_ports(dovecot, findings, "dovecot-pop3d" in packages)
    values = dovecot.values
    findings.mailboxes["plaintext_auth"] = values.get("disable_plaintext_auth") == "no"
    limit = values.get("mail_max_userip_connections", "")
    if limit.isdigit() and int(limit) > 0:
        findings.mailboxes["max_user_connections"] = min(int(limit), 10000)
    _look_at_mailboxes(dovecot, findings)
    _look_at_accounts(dovecot, findings)


def _take_ports(dovecot: Section, findings: Findings, pop3_came_along: bool) -> None:
    protocols = dovecot.values.get("protocols", "").strip('"').split()
    if pop3_came_along and "pop3" in protocols:
        protocols.remove("pop3")
    encrypts = dovecot.values.get("ssl") != "no"
    for pair in SERVICES:
        protocol = pair[0][0]
        service = dovecot.named("service %s-login" % protocol)
        for name, tls in pair:
            port = service.named("inet_listener " + name).values.get("port", "0")
            on = protocol in protocols and port not in ("", "0") and (encrypts or not tls)
            findings.mailboxes[name + "_enabled"] = on
            if on:
                findings.mailboxes[name + "_port"] = int(port)
    for protocol in set(protocols) - {"imap", "pop3", "lmtp", "sieve"}:
        findings.leave("Dovecot's protocol %s" % protocol)


def _look_at_mailboxes(dovecot: Section, findings: Findings) -> None:
    location = dovecot.values.get("mail_location", "")
    if location.rstrip("/") not in MAILDIR:
        findings.stop("mail_location = %s: here mail lies in maildir:~/Maildir" % location)
    for name, block in dovecot.blocks:
        if not name.startswith("namespace"):
            continue
        prefix, separator = (block.values.get(key, "") for key in ("prefix", "separator"))
        if block.values.get("location"):
            findings.stop("%s has mail at %s" % (name, block.values["location"]))
        elif prefix.strip('"') or separator.strip('"') not in ("", "."):
            findings.leave("%s: folders have other names here (prefix %s, separator %s)"
                           % (name, prefix or '""', separator or '""'))


def _look_at_accounts(dovecot: Section, findings: Findings) -> None:
    for kind, wanted in (("userdb", "passwd"), ("passdb", "pam")):
        for driver in dovecot.drivers(kind):
            if driver not in (wanted, "shadow" if kind == "passdb" else wanted):
                findings.stop("%s of driver %s: here users are the machine's accounts and log in "
                              "by PAM" % (kind, driver))
