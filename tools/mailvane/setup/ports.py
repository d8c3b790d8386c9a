"""Takes over the SMTP ports of the machine's own Postfix."""
import socket

from mailvane.setup.findings import Findings
from mailvane.setup.postfix import Postfix, Service

SMTP_PORT = 25
SHIPPED = {  # unused services that Debian's master.cf has
    "maildrop", "uucp", "ifmail", "bsmtp", "scalemail-backend", "mailman"}
INNER = {
    "pickup", "cleanup", "qmgr", "tlsmgr", "rewrite", "bounce", "defer", "trace", "verify", "flush",
    "proxymap", "proxywrite", "smtp", "relay", "showq", "error", "retry", "discard", "local",
    "virtual", "lmtp", "anvil", "scache", "postlog"}
COVERED = {  # options that our own ports set
    "syslog_name", "smtpd_tls_wrappermode", "smtpd_tls_security_level", "smtpd_sasl_auth_enable",
    "smtpd_sasl_type", "smtpd_sasl_path", "smtpd_tls_auth_only", "smtpd_reject_unlisted_recipient",
    "smtpd_relay_restrictions", "smtpd_recipient_restrictions", "smtpd_client_restrictions",
    "milter_macro_daemon_name"}


LOOPBACK = ("127.", "[127.", "[::1]", "localhost")  # beginnings of local addresses


def take_over(postfix: Postfix, findings: Findings) -> None:
    """Finds the ports; other services of the administrator are not taken over."""
    kinds: dict[str, list[tuple[int, Service]]] = {"smtp": [], "smtps": [], "smtp_tls": []}
    for service in postfix.services:
        if not service.takes_mail_in() or service.address().startswith(LOOPBACK):
            _leave_own(service, findings)
            continue
        port = service.port(_number)
        kind = "smtps" if service.wrapped() else "smtp" if port == SMTP_PORT else "smtp_tls"
        kinds[kind].append((port, service))
        _leave_options(service, findings)

    findings.smtp["smtp_ssl_enabled"] = bool(kinds["smtps"])
    findings.smtp["smtp_tls_enabled"] = bool(kinds["smtp_tls"] or not kinds["smtps"])
    for kind, found in kinds.items():
        if found:
            findings.smtp[kind + "_port"] = found[0][0]
        for port, service in found[1:]:
            findings.leave("master.cf: %s, a further port of this kind" % service.name)
        for port, service in found:
            if service.address():
                findings.leave("master.cf: %s: here it listens on every address" % service.name)
    if not kinds["smtps"] and not kinds["smtp_tls"]:
        findings.leave("master.cf: no server for mail programs; here there is one, submission")
    if not kinds["smtp"]:
        findings.leave("master.cf: no server on port %d; here there is one" % SMTP_PORT)


def take_logins(postfix: Postfix, findings: Findings) -> None:
    """Finds where people log in: what they could send so far, they still can."""
    doors = [service for service in postfix.services
             if service.takes_mail_in() and service.options.get(
                 "smtpd_sasl_auth_enable", postfix.text("smtpd_sasl_auth_enable")) == "yes"]
    if doors:
        findings.smtp["restrict_sender"] = False
    findings.port_logins = any(door.port(_number) == SMTP_PORT for door in doors)


def _leave_own(service: Service, findings: Findings) -> None:
    known = INNER | SHIPPED
    if service.kind == "inet" or service.name not in known:
        findings.leave("master.cf: service %s (%s)" % (service.name, service.command))
    elif service.name not in SHIPPED:
        _leave_options(service, findings)


def _leave_options(service: Service, findings: Findings) -> None:
    for name, value in service.options.items():
        if name not in COVERED:
            findings.leave("master.cf: %s: %s = %s" % (service.name, name, value))


def _number(name: str) -> int:
    try:
        return socket.getservbyname(name, "tcp")
    except OSError:
        return 0
