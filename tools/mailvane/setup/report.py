"""The plan that the administrator is shown before anything changes."""
from collections.abc import Callable

from mailvane.setup.findings import Findings

SECRETS = {"smtp_relay_password"}
WAY_OUT = "docs/setup.md says what to do; --force goes on all the same."
UNASKED = "Ended, since they came along with packages and nobody has configured them: "


def show(findings: Findings, keeps_settings: bool, text_of: Callable[[str, str], str]) -> list:
    """The lines about what is taken over and what is not; `text_of` returns the description of a
    member of a page."""
    if keeps_settings:
        return ["The stored settings are used as they are."]
    lines = ["Nobody has configured %s here: what Debian's package has set is no wish of yours."
             % server for server in findings.defaults]
    lines.append("Taken over from the machine's own configuration, or set:")
    for page, members in (("smtp", findings.smtp), ("relay", findings.relay),
                          ("imap_pop3", findings.mailboxes)):
        lines += ["  %-32s  # %s" % ("%s = %s" % (name, _text(name, value)), text_of(page, name))
                  for name, value in members.items()]
    lines += ["  further domain %s" % name for name in findings.domains]
    lines += ["  mail to %s goes to %s" % (name, ", ".join(own))
              for name, own in findings.aliases.items()]
    lines += ["  certificate %s" % findings.certificate[0]] if findings.certificate else []
    return lines + _list("Not taken over; what you still want of it goes into local.d/:",
                         findings.left)


def around(queued: int, filters: list, ends: list, stays: dict) -> list:
    """The lines about the machine's other services."""
    lines = ["", "Then postfix and dovecot run with the generated configuration."]
    if queued:
        lines.append("Mail that waits in the queue stays there: %d." % queued)
    if filters:
        lines.append("Stopped, since we run instances of our own: " + ", ".join(filters))
    if ends:
        lines.append(UNASKED + ", ".join(ends))
    return lines + ["Goes on, though mailvane does without it: %s (%s)" % row
                    for row in stays.items()]


def against(findings: Findings, keeps_settings: bool) -> list:
    """The lines about why mail would be lost or go astray."""
    found = findings.against(keeps_settings)
    return _list("Mail would not be seen any more, or would reach somebody else:", found) + \
        ([WAY_OUT] if found else [])


def _text(name: str, value: object) -> object:
    if name in SECRETS:
        return "(not shown)"
    if isinstance(value, bool):
        return "yes" if value else "no"
    return "(empty)" if value == "" else value


def _list(title: str, entries: list[str]) -> list[str]:
    return ["", title, *("  " + entry for entry in entries)] if entries else []
