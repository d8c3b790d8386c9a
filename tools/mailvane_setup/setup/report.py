"""What the administrator is shown before anything changes."""

SECRETS = {"smtp_relay_password"}
WAY_OUT = "docs/setup.md says what to do; --force goes on all the same."


def show(findings, queued, filters, keeps_settings):
    """The lines that tell what would change."""
    lines = ["The stored settings are used as they are."] if keeps_settings else _taken(findings)
    lines += ["", "Then postfix and dovecot run with the generated configuration."]
    if queued:
        lines.append("Mail that waits in the queue stays there: %d." % queued)
    if filters:
        lines.append("Stopped, since we run instances of our own: " + ", ".join(filters))
    against = findings.against(keeps_settings)
    if against:
        lines += _list("Mail would not be seen any more, or would reach somebody else:", against)
        lines.append(WAY_OUT)
    return lines


def _taken(findings):
    lines = ["Taken over from the machine's own configuration:"]
    for page, members in (("SMTP", findings.smtp), ("relay", findings.relay),
                          ("mailboxes", findings.mailboxes)):
        lines += ["  %-10s %s" % (page, text) for text in _members(members)]
    lines += ["  %-10s %s" % ("domain", name) for name in findings.domains]
    lines += ["  %-10s %s: %s" % ("alias", name, ", ".join(own))
              for name, own in findings.aliases.items()]
    lines += ["  %-10s %s" % ("TLS", findings.certificate[0])] if findings.certificate else []
    return lines + _list("Not taken over; what you still want of it goes into local.d/:",
                         findings.left)


def _members(members):
    return ["%s = %s" % (name, "(not shown)" if name in SECRETS else _text(value))
            for name, value in members.items()]


def _text(value):
    if isinstance(value, bool):
        return "yes" if value else "no"
    return "(empty)" if value == "" else value


def _list(title, entries):
    return ["", title, *("  " + entry for entry in entries)] if entries else []
