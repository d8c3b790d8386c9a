"""The collector of the mail log: what happens to real mail appears as entries."""
import os
import signal
import sqlite3
import unittest

import file_modes
from harness import DOMAIN, TARGET, control, delivered, pid_of, run, send, wait_for

LINK = TARGET + "/etc/maillog/maillog.db"
PID_FILE = "/run/mailvane/maillog.pid"
BOB = "bob@" + DOMAIN
RECEIVED = 1


def ask(query, *values):
    with sqlite3.connect("file:%s?mode=ro" % LINK, uri=True) as database:
        return database.execute(query, values).fetchall()


def entries(sender):
    return ask("SELECT mail_to, status FROM entry WHERE mail_from = ? ORDER BY mail_to", sender)


tearDownModule = file_modes.check


class MailLog(unittest.TestCase):
    def assert_appears(self, sender, want):
        """Waits until the entries of a sender are those wanted: (recipient, status)."""
        def found():
            return entries(sender) == want
        try:
            wait_for(found, "entries")
        except AssertionError:
            self.fail("%r: got %r, want %r" % (sender, entries(sender), want))

    def test_nothing_is_lost_or_doubled_by_a_kill_and_a_rotation(self):
        os.kill(pid_of(PID_FILE), signal.SIGKILL)
        send("three@elsewhere.test", [BOB], "while nobody collects")
        delivered("bob", "while nobody collects")
        run("/usr/sbin/logrotate", "--force", "--state", "/run/rotation",
            "/etc/logrotate.d/mailvane")
        self.assertEqual(control("postfix", "stop"), 0)
        self.assertEqual(control("postfix", "start"), 0)
        send("four@elsewhere.test", [BOB], "in a new log")
        delivered("bob", "in a new log")
        self.assertEqual(control("maillog", "start"), 0)
        self.assertNotEqual(os.stat("/proc/%d" % pid_of(PID_FILE)).st_uid, 0)
        self.assert_appears("three@elsewhere.test", [(BOB, RECEIVED)])
        self.assert_appears("four@elsewhere.test", [(BOB, RECEIVED)])

    def test_users_cannot_forge_entries(self):
        line = "4jWf5tbbbbz9999: to=<forged@mv.test>, relay=x, delay=0, status=sent (ok)"
        run("setpriv", "--reuid=bob", "--regid=bob", "--clear-groups", "logger", "-p", "mail.info",
            "-t", "postfix/smtp[1]", line)
        send("five@elsewhere.test", [BOB], "after the forgery")
        self.assert_appears("five@elsewhere.test", [(BOB, RECEIVED)])
        self.assertEqual(ask("SELECT 1 FROM entry WHERE mail_to LIKE 'forged%'"), [])
