"""Settings for a user's mail program: address, login, servers, ports, encryption."""
import os
import socket
from collections.abc import Iterable

from mailvane.ctl import tls

TLS, STARTTLS = "SSL/TLS", "STARTTLS"
PATIENCE = 2  # seconds
# Protocol, the settings with its switch and its port, encryption.
INCOMING = (("IMAP", "imaps_enabled", "imaps_port", TLS),
            ("IMAP", "imap_enabled", "imap_port", STARTTLS),
            ("POP3", "pop3s_enabled", "pop3s_port", TLS),
            ("POP3", "pop3_enabled", "pop3_port", STARTTLS))
OUTGOING = (("SMTP", "smtp_ssl_enabled", "smtps_port", TLS),
            ("SMTP", "smtp_tls_enabled", "smtp_tls_port", STARTTLS))


def domain(page: dict) -> str:
    """The mail domain of the users."""
    return page["acc_domain_name"] or page["smtp_hostname"]


def access(name: str, page: dict, mailboxes: dict) -> dict:
    """The settings for a user, from the SMTP page and the mailbox page."""
    server = page["smtp_hostname"]
    return {
        "address": "%s@%s" % (name, domain(page)),
        "login": name,
        "incoming": _services(INCOMING, mailboxes, server),
        "outgoing": _services(OUTGOING, page, server) if page["smtp_enabled"] else [],
        "self_signed": not os.path.exists("%s/%s" % (tls.OWN, tls.CERTIFICATE)),
    }


def _services(table: Iterable[tuple[str, str, str, str]], page: dict, server: str) -> list[dict]:
    return [{"protocol": protocol, "server": server, "port": page[port], "encryption": encryption,
             "answers": _answers(page[port])}
            for protocol, switch, port, encryption in table if page[switch]]


def _answers(port: int) -> bool:
    try:
        socket.create_connection(("localhost", port), PATIENCE).close()
        return True
    except OSError:
        return False


def as_text(told: dict) -> str:
    """The same as text."""
    lines = ["What to type into a mail program:", "  %-16s %s" % ("mail address", told["address"]),
             "  %-16s %s" % ("login name", told["login"]),
             "  %-16s %s" % ("password", "the one that was given here")]
    for label, services, hint in (
            ("incoming mail", told["incoming"], "edit imap_pop3 imaps_enabled=yes"),
            ("outgoing mail", told["outgoing"], "edit smtp smtp_ssl_enabled=yes")):
        for service in services:
            lines.append("  %-16s %s" % (label, "{protocol} at {server}, port {port}, {encryption}"
                                         .format(**service) +
                                         ("" if service["answers"] else " (does not answer now)")))
        if not services:
            lines.append("  %-16s none is on: mailvanectl %s" % (label, hint))
    if told["self_signed"]:
        lines.append("Mail programs warn of the certificate, which is signed by itself: "
                     "mailvanectl tls install")
    return "\n".join(lines)
