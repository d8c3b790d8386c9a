"""How users reach the mail server: services, ports, host name, domains."""
from mailvane.setup.findings import Findings
from mailvane.setup.program import Program

SMTP, BOXES = "smtp", "imap_pop3"
SERVICES = (  # name, page, its switch, its port, what it is for
    ("SMTP", SMTP, "smtp_enabled", "smtp_port", "mail from other servers"),
    ("submission", SMTP, "smtp_tls_enabled", "smtp_tls_port",
     "mail programs send, with a login; STARTTLS"),
    ("submissions", SMTP, "smtp_ssl_enabled", "smtps_port",
     "mail programs send, with a login; TLS from the first byte"),
    ("IMAP", BOXES, "imap_enabled", "imap_port", "mail programs read; STARTTLS"),
    ("IMAPS", BOXES, "imaps_enabled", "imaps_port", "mail programs read; TLS from the first byte"),
    ("POP3", BOXES, "pop3_enabled", "pop3_port", "mail programs fetch; STARTTLS"),
    ("POP3S", BOXES, "pop3s_enabled", "pop3s_port", "mail programs fetch; TLS from the first byte"))


def planned(program: Program, findings: Findings | None) -> dict:
    """The pages by name as they will be once the findings are stored, and the additional domains;
    without findings, as they are stored now."""
    pages: dict = {SMTP: program.page(SMTP), BOXES: program.page(BOXES),
                   "domains": [row["domain"] for row in program.call("enum_domain", {})["items"]]}
    if findings:
        pages[SMTP].update(findings.smtp, smtp_enabled=True)
        pages[BOXES].update(findings.mailboxes)
        pages["domains"] = list(dict.fromkeys(pages["domains"] + findings.domains))
    return pages


def show(pages: dict) -> list:
    """The lines to show."""
    host = pages[SMTP]["smtp_hostname"]
    lines = ["People reach this server, %s:" % host]
    off = []
    for name, page, switch, port, purpose in SERVICES:
        if pages[page][switch] and (page != SMTP or pages[SMTP]["smtp_enabled"]):
            lines.append("  %-12s port %-5s %s" % (name, pages[page][port], purpose))
        else:
            off.append((name, page, switch))
    lines += ["  addresses    NAME@%s" % domain for domain in _domains(pages, host)]
    lines.append("  logins       NAME, an account of this machine, with its password")
    if off:
        lines.append("They do not reach, as it is switched off:")
        lines += ["  %-12s mailvanectl edit %s %s=yes" % row for row in off]
    return lines


def _domains(pages: dict, host: str) -> dict[str, None]:
    return dict.fromkeys([pages[SMTP]["acc_domain_name"] or host, host, *pages["domains"]])
