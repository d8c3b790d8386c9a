"""What became of a message: its lines in the mail server's log."""
import gzip
import os
import pwd
import re
import urllib.parse

import harness
from harness import DOMAIN, ask, control, delivered, request, send, wait_for

LOG = "/var/log/mailvane/maillog"
STRANGE = "\x1b]0;x\x07<b>\xff\u202e; 4jWf5tbbbbz1000: removed"
REPORT = {"enable_report": False, "report_rcpt": "bob@" + DOMAIN, "report_sender_name": "T",
          "report_sender_mail": "bob@" + DOMAIN, "hours": 1, "mins": 0, "smtp_server": "127.0.0.1",
          "smtp_port": 25, "smtp_auth": False, "auth_name": "", "auth_password": "",
          "smtp_security_conn": False}


def lines_of(id_):
    # Web servers take control characters in a form, but not in an address.
    form = urllib.parse.urlencode({"call": "log_lines", "id": id_}).encode()
    return request("/upkeep.cgi", body=form,
                   headers={"Content-Type": "application/x-www-form-urlencoded",
                            "X-Mailvane": "1"}).json()


def message_id(subject):
    return re.search(r"(?mi)^message-id:\s*<(.+)>", delivered("bob", subject))[1]


class LogLines(harness.Story):
    def test_of_a_delivered_message_by_both_ids(self):
        send("someone@elsewhere.test", ["bob@" + DOMAIN], "lines")
        name = message_id("lines")
        found = wait_for(lambda: (told := lines_of(name)) and "removed" in str(told) and told,
                         "the last line")
        self.assertEqual(len(found["ids"]), 1)
        for part in ("client=", "message-id=<%s>" % name, "from=<someone@elsewhere.test>",
                     "to=<bob@%s>" % DOMAIN, "status=sent", "removed"):
            self.assertIn(part, "\n".join(found["lines"]))
        self.assertTrue(found["whole"] and not found["cut"])
        self.assertEqual(lines_of(found["ids"][0]), found)
        self.assertEqual(lines_of("<%s>" % name), found)

        # The same where the log has gone on in another file.
        with open(LOG, "rb") as log, gzip.open(LOG + ".2.gz", "wb") as packed:
            packed.write(log.read())
        self.addCleanup(os.unlink, LOG + ".2.gz")
        os.chown(LOG + ".2.gz", 0, pwd.getpwnam("mailvane-log").pw_gid)
        os.chmod(LOG + ".2.gz", 0o640)
        control("postfix", "stop")
        os.truncate(LOG, 0)
        self.assertEqual(lines_of(name)["lines"], found["lines"])
        control("postfix", "start")

    def test_hostile_ids_and_lines(self):
        for name in (STRANGE, "../../etc/shadow", "-x", "\n", "%00", "*", "a" * 1000, "4jWf5tbbbbz"):
            self.assertEqual(lines_of(name)["lines"], [], name)
        for name, code in (("", "empty"), ("a" * 1001, "too_long")):
            self.assertIs(lines_of(name)["success"], False, code)
        with open(LOG, "ab") as log:
            log.write(("2026-11-21T04:16:18Z mail postfix/smtp[1]: 4jWf5tbbbbz1000: %s\n" % STRANGE)
                      .encode("latin-1", "replace"))
        [line] = lines_of("4jWf5tbbbbz1000")["lines"]
        self.assertTrue(line.isprintable(), line)


class Report(harness.Story):
    def test_sent_now_and_not_taken(self):
        told = ask("report_now", {})
        self.assertEqual((told["taken"], told["code"], told["to"]), (False, "missing", []))
        self.change("save_report", **REPORT)
        told = ask("report_now", {})
        self.assertEqual(told, {"success": True, "taken": True, "code": "", "server": "127.0.0.1",
                                "port": 25, "to": ["bob@" + DOMAIN]})
        delivered("bob", "Mail report of")
        self.change("save_report", **{**REPORT, "smtp_port": 9})
        told = ask("report_now", {})
        self.assertEqual((told["taken"], told["code"]), (False, "down"))
