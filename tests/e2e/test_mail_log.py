"""The collector of the mail log: what happens to real mail appears as entries."""
import os
import signal
import sqlite3
import subprocess
import time
import unittest

import file_modes
from harness import (DOMAIN, ETC, POSTFIX_CONFIGURATION, TARGET, control, delivered, pid_of, run,
                     send, wait_for)

LINK = TARGET + "/etc/maillog/maillog.db"
PID_FILE = "/run/mailvane/maillog.pid"
BOB = "bob@" + DOMAIN
RECEIVED, BOUNCED = 1, 2


def ask(query, *values):
    with sqlite3.connect("file:%s?mode=ro" % LINK, uri=True) as database:
        return database.execute(query, values).fetchall()


def entries(sender):
    return ask("SELECT mail_to, status, size FROM entry WHERE mail_from = ? ORDER BY mail_to",
               sender)


def setUpModule():
    """A domain that nobody has."""
    with open(ETC + "/local.d/main.cf", "w", encoding="ascii") as file:
        file.write("transport_maps = inline:{ { gone.test = error:5.1.2 no such domain } }\n")
    run(TARGET + "/bin/hald_set_config", "render")
    if control("postfix", "restart") != 0:
        raise AssertionError("the mail server does not take the routes")


tearDownModule = file_modes.check


class MailLog(unittest.TestCase):
    def assert_appears(self, sender, want):
        """Waits until the entries of a sender are those wanted: (recipient, status)."""
        def found():
            return [(to, status) for to, status, _ in entries(sender)] == want
        try:
            wait_for(found, "entries")
        except AssertionError:
            self.fail("%r: got %r, want %r" % (sender, entries(sender), want))

    def test_received(self):
        start = int(time.time())
        send("one@elsewhere.test", [BOB, "carol@" + DOMAIN], "to be logged")
        delivered("bob", "to be logged")
        self.assert_appears("one@elsewhere.test",
                            [(BOB, RECEIVED), ("carol@" + DOMAIN, RECEIVED)])
        sizes = {size for _, _, size in entries("one@elsewhere.test")}
        self.assertTrue(all(100 < size < 5000 for size in sizes), sizes)
        date, message_id = ask("SELECT date, queue_id FROM entry WHERE mail_from = ?",
                               "one@elsewhere.test")[0]
        self.assertTrue(start <= date <= time.time(), date - start)
        self.assertGreater(len(message_id), 8)
        self.assertNotEqual(os.stat("/proc/%d" % pid_of(PID_FILE)).st_uid, 0)

    def test_bounced_and_its_report(self):
        subprocess.run(["/usr/sbin/sendmail", "-C", POSTFIX_CONFIGURATION, "-f", "alice@" + DOMAIN,
                        "x@gone.test"], input=b"Subject: bounces\n\nA message.\n", check=True)
        wait_for(lambda: ("x@gone.test", BOUNCED) in
                 [entry[:2] for entry in entries("alice@" + DOMAIN)], "the bounce")
        self.assert_appears("", [("alice@" + DOMAIN, RECEIVED)])

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
        self.assert_appears("three@elsewhere.test", [(BOB, RECEIVED)])
        self.assert_appears("four@elsewhere.test", [(BOB, RECEIVED)])

    def test_users_cannot_forge_entries(self):
        line = "4jWf5tbbbbz9999: to=<forged@mv.test>, relay=x, delay=0, status=sent (ok)"
        run("setpriv", "--reuid=bob", "--regid=bob", "--clear-groups", "logger", "-p", "mail.info",
            "-t", "postfix/smtp[1]", line)
        send("five@elsewhere.test", [BOB], "after the forgery")
        self.assert_appears("five@elsewhere.test", [(BOB, RECEIVED)])
        self.assertEqual(ask("SELECT 1 FROM entry WHERE mail_to LIKE 'forged%'"), [])
