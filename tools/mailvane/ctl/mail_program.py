"""Settings for a user's mail program, as text."""


def as_text(told: dict) -> str:
    """What the program tells about them, as lines."""
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
