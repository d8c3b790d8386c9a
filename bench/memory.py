"""What the package's services hold in memory. See run-memory."""
import contextlib
import os
import unittest

import harness
import measuring

# What is not the package's: the world, who asks, and the sink of the log.
OTHERS = ("unittest", "world", "syslog_sink", "sleep")
MAILBOXES = ("imap_enabled", "imaps_enabled", "pop3_enabled", "pop3s_enabled")
SWITCHES = ("reject_sasl_sender_rate_exceed", "enable_dkim", "enable_dmarc", "enable_dangerous_content_scan",
            "spam_enable", "anti_virus_enable", "enable_spf_check", "reject_spf_soft_fail", "spam_dnsbl_enable")


def secure(*names):
    """Has these services of the security page on, and no other."""
    harness.tell("save_security", smtpd_sasl_sender_rate_limit=900, **{name: name in names for name in SWITCHES})


def mailboxes(*names):
    harness.tell("save_imap_pop3", **{name: name in names for name in MAILBOXES})


# Each is there besides those before it.
SERVICES = (
    ("SMTP", lambda: harness.save(smtp_enabled=True)),
    ("IMAP", lambda: mailboxes("imap_enabled")),
    ("sender quotas", lambda: secure(*SWITCHES[:1])),
    ("DKIM", lambda: secure(*SWITCHES[:2])),
    ("DMARC", lambda: secure(*SWITCHES[:3])),
    ("scanner of attachments", lambda: secure(*SWITCHES[:4])),
    ("spam filter", lambda: secure(*SWITCHES[:5])),
)


def resident():
    """MiB of all processes; of what some share, each has its part."""
    total = 0
    for pid in filter(str.isdigit, os.listdir("/proc")):
        with contextlib.suppress(FileNotFoundError, ProcessLookupError):
            with open("/proc/%s/cmdline" % pid, encoding="utf-8") as file:
                words = file.read()
            with open("/proc/%s/smaps_rollup" % pid, encoding="ascii") as file:
                parts = [line.split() for line in file if line.startswith("Pss:")]
            if parts and not any(other in words for other in OTHERS):
                total += int(parts[0][1])
    return total / 1024


class Memory(unittest.TestCase):
    def test_services(self):
        secure()
        mailboxes()
        harness.save(smtp_enabled=False)
        before = resident()
        measuring.tell("memory", "no service on: web, mail log", before, "MiB")
        for name, switch_on in SERVICES:
            switch_on()
            now = resident()
            measuring.tell("memory", "more with " + name, now - before, "MiB")
            before = now
        measuring.tell("memory", "all together", before, "MiB")
