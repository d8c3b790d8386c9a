"""Takes over the relay host of the machine's own Postfix."""
import socket

from mailvane.setup import tables
from mailvane.setup.findings import Findings
from mailvane.setup.postfix import Postfix

SMTP_PORT = 25
SMTPS_PORT = 465  # TLS from the first byte


def parse(text: str) -> tuple[str, int]:
    """Host and port of a `relayhost` value; the port is 25 when none is given, 0 when its name is
    unknown."""
    if text.startswith("["):
        host, _, rest = text[1:].partition("]")
        port = rest.removeprefix(":")
    else:
        host, _, port = text.partition(":")
    return host, _number(port)


def _number(port: str) -> int:
    if not port:
        return SMTP_PORT
    if port.isdigit():
        return int(port)
    try:
        return socket.getservbyname(port, "tcp")
    except OSError:
        return 0


def login(relayhost: str, rows: list[tuple[str, str]]) -> tuple[str, str] | None:
    """Account and password for a relay host; None when the map has none."""
    found = dict(rows)
    value = found.get(relayhost, found.get(parse(relayhost)[0]))
    if value is None or ":" not in value:
        return None
    account, _, password = value.partition(":")
    return account, password


def take_over(postfix: Postfix, findings: Findings) -> None:
    """Finds the settings of the relay page."""
    relayhost = postfix.text("relayhost")
    if not relayhost:
        return
    host, port = parse(relayhost)
    if not port:
        findings.leave("relayhost = %s: its port is unknown" % relayhost)
        return
    findings.relay.update(smtp_relay_enabled=True, smtp_relay_server=host, smtp_relay_port=port,
                          smtp_relay_tls=_must_encrypt(postfix), smtp_relay_auth=False)
    if not relayhost.startswith("["):
        findings.leave("relayhost = %s: mail goes to %s itself, not to its MX" % (relayhost, host))
    level = postfix.text("smtp_tls_security_level")
    if level not in ("", "none", "may", "encrypt"):
        findings.leave("smtp_tls_security_level = %s: here %s, unless local.d/main.cf says so"
                       % (level, "encrypt" if _must_encrypt(postfix) else "may"))
    if postfix.is_on("smtp_tls_wrappermode") and port != SMTPS_PORT:
        findings.leave("smtp_tls_wrappermode: put it into local.d/main.cf, or mail does not leave")
    if postfix.is_on("smtp_sasl_auth_enable"):
        _take_login(postfix, relayhost, findings)


def _must_encrypt(postfix: Postfix) -> bool:
    level = postfix.text("smtp_tls_security_level")
    return level not in ("", "none", "may", "dane") or postfix.is_on("smtp_enforce_tls")


def _take_login(postfix: Postfix, relayhost: str, findings: Findings) -> None:
    for table in postfix.words("smtp_sasl_password_maps"):
        try:
            found = login(relayhost, tables.rows(tables.text_of(tables.source_of(table))))
        except tables.Unreadable as problem:
            findings.leave("smtp_sasl_password_maps: %s" % problem)
            continue
        if found:
            findings.relay.update(smtp_relay_auth=True, smtp_relay_account=found[0],
                                  smtp_relay_password=found[1])
            return
    findings.leave("smtp_sasl_password_maps: no login for %s" % relayhost)
