"""The configuration of the machine's own Postfix: parameters and services, as postconf prints them.
"""
import os
from collections.abc import Callable

from mailvane.common import postqueue
from mailvane.common.errors import Refused
from mailvane.common.files import content
from mailvane.setup import shipped, tables
from mailvane.setup.run import output

MAIN = "/etc/postfix/main.cf"


class Service:
    """A line of master.cf with its own options."""

    def __init__(self, name: str, kind: str, command: str, options: dict[str, str]) -> None:
        self.name, self.kind, self.command, self.options = name, kind, command, options

    def takes_mail_in(self) -> bool:
        """Whether it is an SMTP server on a port."""
        return self.kind == "inet" and self.command in ("smtpd", "postscreen")

    def port(self, number_of: Callable[[str], int]) -> int:
        """Its port; 0 for a name that `number_of` does not know."""
        name = self.name.rpartition(":")[2]
        return int(name) if name.isdigit() else number_of(name)

    def address(self) -> str:
        """The address on which it listens; "" for all."""
        return self.name.rpartition(":")[0]

    def wrapped(self) -> bool:
        """Whether the TLS handshake comes before the greeting."""
        return self.options.get("smtpd_tls_wrappermode") == "yes"


class Postfix:
    """A configuration: all parameters, those that were set explicitly, and the services."""

    def __init__(self, parameters: dict[str, str], given: dict[str, str],
                 services: list[Service]) -> None:
        self.parameters, self.given, self.services = parameters, given, services

    def text(self, name: str) -> str:
        """The value of a parameter; "" when there is none."""
        return self.parameters.get(name, "")

    def words(self, name: str) -> list[str]:
        """The value of a parameter that is a list."""
        return words(self.text(name))

    def is_on(self, name: str) -> bool:
        """The value of a parameter that is yes or no."""
        return self.text(name) == "yes"


def words(text: str) -> list[str]:
    """The items of a list, separated by commas and blanks outside of braces."""
    items, depth = [""], 0
    for sign in text:
        depth += (sign == "{") - (sign == "}")
        if depth == 0 and (sign == "," or sign.isspace()):
            items.append("")
        else:
            items[-1] += sign
    return [item for item in items if item]


def parse_parameters(text: str) -> dict[str, str]:
    """Parses lines "name = value"."""
    pairs = (line.partition("=") for line in text.splitlines() if "=" in line)
    return {name.strip(): value.strip() for name, _, value in pairs}


def parse_services(lines: str, options: str) -> list[Service]:
    """Parses the output of `postconf -M` and `postconf -P`."""
    own: dict[tuple[str, str], dict[str, str]] = {}
    for path, value in parse_parameters(options).items():
        name, kind, parameter = path.rsplit("/", 2)
        own.setdefault((name, kind), {})[parameter] = value
    rows = (line.split() for line in lines.splitlines())
    return [Service(row[0], row[1], row[7], own.get((row[0], row[1]), {}))
            for row in rows if len(row) > 7]


def read() -> Postfix | None:
    """The configuration in /etc/postfix; None when Postfix was never configured."""
    if not os.path.exists(MAIN):
        return None
    return Postfix(parse_parameters(output("postconf", "-x")),
                   parse_parameters(output("postconf", "-n")),
                   parse_services(output("postconf", "-M"), output("postconf", "-P")))


def waiting() -> int:
    """The number of messages in the queue; 0 when postqueue fails."""
    try:
        return len(postqueue.waiting())
    except Refused:
        return 0


def doors(services: list) -> list:
    """The services that listen on the network: name, program, options."""
    return sorted((service.name, service.command, sorted(service.options.items()))
                  for service in services if service.kind == "inet")


def has_shipped_doors(postfix: Postfix, path: str = shipped.MASTER_CF) -> bool:
    """Whether the same services listen on the network as in Debian's master.cf. Other lines may
    differ, since upgrades and other packages add services."""
    text = (content(path) or b"").decode(errors="replace")
    return doors(postfix.services) == doors(
        parse_services("\n".join(tables.logical_lines(text)), ""))
