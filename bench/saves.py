"""What saves of the settings pages cost, and what somebody sees who sends mail meanwhile. See run-saves."""
import os
import smtplib
import socket
import statistics
import subprocess
import threading
import time
import unittest

import harness
import measuring
from harness import DOMAIN, tell

ROUNDS = int(os.environ.get("MAILVANE_ROUNDS", "20"))
ROUNDS_WITH_MAIL = 4
PER_SECOND = int(os.environ.get("MAILVANE_PER_SECOND", "50"))
PAGES = os.environ.get("MAILVANE_PAGES", "").split()  # all unless some are named
SCANNER_COMMAND = ["runuser", "-u", "amavis", "--", "/usr/sbin/amavisd", "-c",
                   harness.ETC + "/generated/current/amavis/amavisd.conf"]
SPAM = {"spam_enable": False, "spam_tag_score": 5, "spam_reject_score": 12,
        "spam_subject_tag": "", "spam_action": "reject", "virus_action": "reject",
        "spam_bayes": False}


class Sender(threading.Thread):
    """Sends messages at a steady pace, each over a connection of its own, until it is stopped."""

    def __init__(self):
        super().__init__()
        self.refused, self.times, self._end = [], [], threading.Event()
        self.start()

    def run(self):
        due = time.monotonic()
        while not self._end.is_set():
            # What comes late is sent at once: a pause is that of one message.
            due = max(due + 1 / PER_SECOND, time.monotonic())
            self._end.wait(due - time.monotonic())
            start = time.monotonic()
            try:
                with smtplib.SMTP("127.0.0.1", 25, "client.test", 30) as client:
                    client.sendmail("x@elsewhere.test", ["bob@" + DOMAIN],
                                    "Subject: saves\r\n\r\nA message.\r\n")
            except (OSError, smtplib.SMTPException) as error:
                self.refused.append(str(error))
            self.times.append(time.monotonic() - start)

    def finish(self):
        self._end.set()
        self.join()


def stored(load, names):
    """What a page has stored of these settings."""
    answer = harness.read(load).json()
    return {name: answer[name] for name in names}


def page(action, load, *names, **members):
    """What is sent to save a page: what it has stored, these members, and some changes."""
    return lambda **changes: {"action": action, **stored(load, names), **members, **changes}


SMTP = page("save_smtp", "load_smtp", *harness.PAGE)
SECURITY = page("save_security", "load_security", "enable_spf_check", "reject_spf_soft_fail",
                "enable_dkim", "enable_dmarc", "reject_sasl_sender_rate_exceed",
                "smtpd_sasl_sender_rate_limit", "spam_dnsbl_enable", "anti_virus_enable",
                "spam_enable", "enable_dangerous_content_scan")
RELAY = page("save_relay", "load_relay", smtp_relay_enabled=True, smtp_relay_server="relay.test",
             smtp_relay_port=25, smtp_relay_tls=False, smtp_relay_auth=False)
MAILBOX = page("save_imap_pop3", "load_imap_pop3", imap_enabled=True)
ADVANCED = page("save_advance_anti_spam", "load_adv_anti_spam")
SCANNER = page("save_spam_config", "load_spam_config", **SPAM)
FILTERED = page("save_spam_config", "load_spam_config", **{**SPAM, "spam_enable": True})
RULES = page("save_spam_rules", "load_spam_rules", modifiedList=[])

# A page, what is changed in it, and two values that take turns.
KINDS = (
    ("smtp", "nothing", SMTP, {}, {}),
    ("smtp", "host name", SMTP, {"smtp_hostname": "a.mv.test"}, {"smtp_hostname": "mv.test"}),
    ("smtp", "senders", SMTP, {"restrict_sender": True}, {"restrict_sender": False}),
    ("smtp", "port", SMTP, {"smtp_tls_enabled": True, "smtp_tls_port": 1587},
     {"smtp_tls_enabled": True, "smtp_tls_port": 587}),
    ("imap_pop3", "nothing", MAILBOX, {}, {}),
    ("imap_pop3", "connections", MAILBOX, {"max_user_connections": 21},
     {"max_user_connections": 20}),
    ("imap_pop3", "passwords", MAILBOX, {"plaintext_auth": True}, {"plaintext_auth": False}),
    ("imap_pop3", "port", MAILBOX, {"imap_port": 1143}, {"imap_port": 143}),
    ("relay", "nothing", RELAY, {}, {}),
    ("relay", "server", RELAY, {"smtp_relay_server": "one.test"}, {"smtp_relay_server": "two.test"}),
    ("security", "nothing", SECURITY, {}, {}),
    ("security", "SPF", SECURITY, {"enable_spf_check": True}, {"enable_spf_check": False}),
    ("security", "quota", SECURITY, {"smtpd_sasl_sender_rate_limit": 901},
     {"smtpd_sasl_sender_rate_limit": 900}),
    ("security", "DKIM", SECURITY, {"enable_dkim": True}, {"enable_dkim": False}),
    ("security", "DMARC", SECURITY, {"enable_dmarc": True}, {"enable_dmarc": False}),
    ("security", "scanner", SECURITY, {"enable_dangerous_content_scan": True},
     {"enable_dangerous_content_scan": False}),
    ("advanced", "nothing", ADVANCED, {}, {}),
    ("advanced", "recipients", ADVANCED, {"recipient_limit": 901}, {"recipient_limit": 900}),
    ("spam", "nothing, off", SCANNER, {}, {}),
    ("spam", "score, off", SCANNER, {"spam_tag_score": 6}, {"spam_tag_score": 5}),
    ("spam", "nothing, on", FILTERED, {}, {}),
    ("spam", "score, on", FILTERED, {"spam_tag_score": 6}, {"spam_tag_score": 5}),
    ("rules", "nothing, on", RULES, {}, {}),
)


def own_start():
    """Seconds that the scanner takes to start by itself, with the settings in force."""
    harness.control("mailscanner", "stop")
    start = time.monotonic()
    subprocess.run(SCANNER_COMMAND, check=True)
    harness.wait_for(listens, "the scanner")
    passed = time.monotonic() - start
    harness.control("mailscanner", "restart")
    return passed


def listens():
    """Whether the scanner takes connections."""
    with socket.socket(socket.AF_UNIX) as client:
        return client.connect_ex("/run/mailvane/amavis/socket") == 0


def saved(save, one, other, rounds):
    """Seconds of each of some saves, of two values in turns."""
    times = []
    for number in range(rounds):
        body = save(**(other if number % 2 else one))
        start = time.monotonic()
        tell(**body)
        times.append(time.monotonic() - start)
    return times


class Saves(unittest.TestCase):
    def test_each_kind(self):
        for page_name, what, save, one, other in KINDS:
            if PAGES and page_name not in PAGES:
                continue
            tell(**save(**other))
            times = saved(save, one, other, ROUNDS)
            sender = Sender()
            saved(save, one, other, ROUNDS_WITH_MAIL)
            sender.finish()
            name = "%s: %s" % (page_name, what)
            if what == "scanner":
                self.tell_scanner(name, times, save, one)
            else:
                measuring.tell("saves", name, statistics.median(times), "s")
            measuring.tell("saves", name + ", pause", max(sender.times), "s", len(sender.times))
            measuring.tell("saves", name + ", refused", len(sender.refused), "", len(sender.times))
            for words in sorted(set(sender.refused))[:3]:
                print("    " + words)

    @staticmethod
    def tell_scanner(name, times, save, one):
        """It is switched on and off in turns."""
        tell(**save(**one))
        floor = statistics.median(own_start() for _ in range(3))
        for turn, part in ((" on", times[::2]), (" off", times[1::2])):
            measuring.tell("saves", name + turn, statistics.median(part), "s", 0, "its own start", floor)
