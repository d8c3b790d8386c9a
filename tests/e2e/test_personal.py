"""Forwarding, automatic replies and the report, on real mail."""
import email
import email.policy
import os
import pwd
import re
import smtplib
import socket
import subprocess
import time

import file_modes
import harness
import nameserver
from harness import (DOMAIN, ETC, TARGET, SystemLog, delivered, mails, post, read, run, send,
                     wait_for)
from machine import contents, wait_for_an_empty_queue, write

ALICE = "alice@" + DOMAIN
BOB = "bob@" + DOMAIN
CAROL = "carol@" + DOMAIN
SCRIPT = "/home/alice/.mailvane.sieve"
REPORT = TARGET + "/bin/hald_report"
STATE = ETC + "/report.state"
CHECKS = "/run/mailvane/check.state"
DEFAULTS = "/etc/default/mailvane"
HOUR = 3600


DNS = nameserver.NameServer()  # the self-check of a report waits for one


def setUpModule():
    DNS.start()


def submit(text, sender=BOB, recipient=ALICE):
    """Hands in a message as it stands."""
    with smtplib.SMTP("127.0.0.1", 25, "client.test", harness.PATIENCE) as client:
        client.sendmail(sender, [recipient], text.encode().replace(b"\n", b"\r\n"))


def message(subject, sender=BOB, more=""):
    return "From: %s\nTo: %s\nSubject: %s\n%s\nHello.\n" % (sender, ALICE, subject, more)


def parsed(texts):
    return [email.message_from_bytes(text.encode(), policy=email.policy.default)
            for text in texts]


def become_alice(code, *arguments):
    """Runs Python code as Alice."""
    alice = pwd.getpwnam("alice")
    run("/usr/bin/python3", "-c", code, *arguments, user=alice.pw_uid, group=alice.pw_gid,
        extra_groups=[])


class Personal(harness.Story):
    """Alice's settings; Bob writes to her."""

    def setUp(self):
        super().setUp()
        self.addCleanup(self.save)

    def save(self, user="alice", **members):
        self.change("save_personal", user=user, **members)

    def assert_refused(self, **members):
        answer = post({"action": "save_personal", "user": "alice", **members}).json()
        self.assertIs(answer["success"], False, answer)
        self.assertEqual(answer["errinfo"]["key"], "no_user_home")

    def loaded(self):
        return read("load_personal&user=alice").json()

    def replies(self, user="bob"):
        """What the answers to a user say: subjects and texts."""
        found = parsed(mails(user, ""))
        return [(mail["Subject"], mail.get_content().replace("\r\n", "\n").strip())
                for mail in found if (mail["Auto-Submitted"] or "").startswith("auto-replied")]

    def assert_no_reply_to(self, texts, sender=BOB):
        """None of these messages is answered."""
        before = len(self.replies())
        for _, text in texts:
            submit(text, sender)
        for subject, _ in texts:
            delivered("alice", subject)
        self.assertEqual(len(self.replies()), before)

    def test_forwarding_with_and_without_a_copy(self):
        self.save(forward_enable=True, forward_addr=CAROL, keep_copy=True)
        send(BOB, [ALICE], "forwarded and kept")
        self.assertIn("Return-Path: <%s>" % BOB, delivered("carol", "forwarded and kept"))
        delivered("alice", "forwarded and kept")

        self.save(forward_enable=True, forward_addr=CAROL)
        send(BOB, [ALICE], "only forwarded")
        delivered("carol", "only forwarded")
        self.assertEqual(mails("alice", "only forwarded"), [])

        self.save("carol", forward_enable=True, forward_addr=ALICE, keep_copy=True)
        self.addCleanup(self.save, "carol")
        self.save(forward_enable=True, forward_addr=CAROL, keep_copy=True)
        send(BOB, [ALICE], "in a circle")
        delivered("carol", "in a circle")
        wait_for_an_empty_queue()
        self.assertLessEqual(len(mails("alice", "in a circle")), 2)

        self.save(forward_addr=CAROL)
        send(BOB, [ALICE], "no longer forwarded")
        delivered("alice", "no longer forwarded")
        self.assertFalse(os.path.exists(SCRIPT))

    def test_addresses_that_mail_cannot_be_forwarded_to(self):
        self.save(forward_enable=True, forward_addr=CAROL, keep_copy=True)
        script = contents(SCRIPT)
        for address in ("", "carol", "x y@z.test", 'a"; stop; "@z.test', "a@b.test\nstop", ALICE,
                        "Alice+x@MV.test", "a@b.test, c@d.test"):
            with self.subTest(address):
                self.assert_refused(forward_enable=True, forward_addr=address)
                self.assertEqual(contents(SCRIPT), script)
                self.assertEqual(self.loaded()["forward_addr"], CAROL)

    def test_a_reply_that_cannot_be_stored_fails_the_save(self):
        self.save(reply_enable=True, subject="old", message="old text")
        for change in ({"message": "x" * 20000}, {"subject": "x" * 600}):
            self.assert_refused(**{"reply_enable": False, "subject": "new", "message": "new",
                                   **change})
            self.assertEqual([self.loaded()[name] for name in ("reply_enable", "subject")],
                             [True, "old"])

    def test_a_reply_within_its_period_and_none_outside(self):
        now = int(time.time())
        text = 'Bin weg: "Grüße"\n.\n${hex:41} \\ stop; 日本'
        for begin, end, due in (("", "", True), (now - HOUR, now + HOUR, True),
                                (now + HOUR, now + 2 * HOUR, False), ("", now - 1, False)):
            with self.subTest(begin=begin, end=end):
                subject = "Abwesend %s-%s" % (begin, end)
                self.save(reply_enable=True, subject=subject, message=text,
                          reply_begin_time=str(begin), reply_end_time=str(end))
                name = "period %s-%s." % (begin, end)
                submit(message(name))
                delivered("alice", name)
                answer = (subject, text)
                if due:
                    wait_for(lambda answer=answer: answer in self.replies(), "the reply")
                else:
                    self.assertNotIn(answer, self.replies())

    def test_no_reply_to_what_no_person_wrote(self):
        self.save(reply_enable=True, subject="Not to machines", message="Away")
        headers = {"list": "List-Id: <l.test>\n", "bulk": "Precedence: bulk\n",
                   "auto": "Auto-Submitted: auto-replied\n", "spam": "X-Spam-Flag: YES\n"}
        self.assert_no_reply_to([(name, message(name, more=more))
                                 for name, more in headers.items()])
        self.assert_no_reply_to([("bounce", message("bounce"))], sender="")
        hidden = message("blind copy").replace("To: " + ALICE, "To: x@elsewhere.test")
        self.assert_no_reply_to([("blind copy", hidden)])
        submit(message("from a person"))
        wait_for(lambda: ("Not to machines", "Away") in self.replies(), "the reply")
        submit(message("from a person again"))
        delivered("alice", "from a person again")
        self.assertEqual(self.replies().count(("Not to machines", "Away")), 1)

    def test_replies_to_single_senders(self):
        admin = "admin@" + DOMAIN
        self.change("set_reply_setting", sender="Bob@mv.test", subject="To Bob", message="Call me")
        self.assertEqual(read("load_reply_list").json()["replies"],
                         [{"sender": "Bob@mv.test", "subject": "To Bob", "message": "Call me"}])
        for sender in (BOB, CAROL):  # in force at once, with the general reply off
            submit(message("to admin", sender).replace(ALICE, admin), sender, admin)
        wait_for(lambda: ("To Bob", "Call me") in self.replies(), "the reply")
        wait_for(lambda: len(mails("admin", "to admin")) == 2, "both mails")
        self.assertNotIn(("To Bob", "Call me"), self.replies("carol"))

        for bad in ("bob", "", "x y@z", 'a"@b.test'):
            answer = post({"action": "set_reply_setting", "sender": bad}).json()
            self.assertEqual(answer["errinfo"]["key"], "error_system", bad)
        self.change("delete_reply_setting", delete_list=["nobody@mv.test", BOB.upper()])
        self.assertEqual(read("load_reply_list").json()["replies"], [])
        self.assertFalse(os.path.exists("/home/admin/.mailvane.sieve"))

    def test_a_script_of_the_users_own_runs_as_well(self):
        own = "/home/alice/.dovecot.sieve"
        text = 'require ["fileinto", "mailbox"];\nfileinto :create "Own";\n'
        become_alice("import sys; open(sys.argv[1], 'w').write(sys.argv[2])", own, text)
        self.addCleanup(os.unlink, own)
        self.save(forward_enable=True, forward_addr=CAROL, keep_copy=True)
        send(BOB, [ALICE], "filed by alice")
        delivered("carol", "filed by alice")
        wait_for(lambda: os.path.isdir("/home/alice/Maildir/.Own"), "the own script")
        self.assertEqual(contents(own), text)

    def test_links_of_the_user_lead_nowhere(self):
        target = ETC + "/mailvane.conf"
        before = harness.snapshot(ETC)
        become_alice("import os, sys; os.symlink(*sys.argv[1:])", target, SCRIPT)
        self.assertIs(self.loaded()["success"], True)
        self.save(reply_enable=True, subject="s", message="m")
        self.assertFalse(os.path.islink(SCRIPT))
        info = os.stat(SCRIPT)
        self.assertEqual((info.st_uid, info.st_mode & 0o777), (pwd.getpwnam("alice").pw_uid, 0o600))
        become_alice("import os, sys; os.unlink(sys.argv[2]); os.symlink(*sys.argv[1:])",
                     target, SCRIPT)
        self.save()
        self.assertFalse(os.path.lexists(SCRIPT))
        after = harness.snapshot(ETC)
        self.assertEqual({name for name in after if after[name] != before.get(name)} -
                         {ETC + "/personal", ETC + "/personal/alice.json"}, set())
        become_alice("import os, sys; os.mkdir(sys.argv[1])", SCRIPT)
        self.assert_refused(reply_enable=True, subject="s", message="m")
        os.rmdir(SCRIPT)
        self.assertEqual([name for name in os.listdir("/home/alice") if "mailvane-" in name], [])


class Report(harness.Story):
    """The report goes to Bob, through Alice's account on this mail server."""

    def store(self, **members):
        page = {"enable_report": True, "report_rcpt": BOB, "report_sender_name": 'Jörg "<b>"',
                "report_sender_mail": ALICE, "hours": 0, "mins": 0, "smtp_server": DOMAIN,
                "smtp_port": 587, "smtp_auth": True, "auth_name": "alice",
                "auth_password": "pw-alice", "smtp_security_conn": True}
        self.change("save_report", **{**page, **members})

    def send_report(self, option="--now"):
        return subprocess.run([REPORT, option], check=False, timeout=harness.PATIENCE).returncode

    def letters(self):
        return parsed(mails("bob", "of its checks turned bad"))

    def reports(self):
        return parsed(mails("bob", "Mail report of"))

    def test_a_report_goes_through_a_real_account(self):
        self.store()
        self.assertNotIn(b"pw-alice", read("load_report").body)
        before = len(self.reports())
        self.assertEqual(self.send_report(), 0)
        wait_for(lambda: len(self.reports()) > before, "the report")
        mail = self.reports()[-1]
        self.assertEqual(mail["From"].addresses[0].display_name, 'Jörg "<b>"')
        self.assertIn("sasl_username=alice", contents("/var/log/mailvane/maillog"))
        plain, html = (part.get_content() for part in mail.iter_parts())
        for text in (plain, html):
            self.assertRegex(text, "(?s)Mail queue.*GiB.*Self-check|Self-check.*Mail queue.*GiB")

    def test_what_keeps_a_report_from_being_sent_is_logged_and_tried_again(self):
        self.store(auth_password="wrong-secret")
        write(STATE, 'done_until="0"\n')
        log = SystemLog()
        self.assertEqual(self.send_report("--due"), 1)
        text = "\n".join(log.lines())
        self.assertIn("report: attempt 1 failed, the next is in 5 minutes", text)
        self.assertNotIn("wrong-secret", text)
        self.assertEqual(self.send_report("--due"), 0, "it waits")

        self.store()
        write(STATE, 'done_until="0"\nattempts="1"\nnext_attempt="%d"\n' % time.time())
        before = len(self.reports())
        self.assertEqual(self.send_report("--due"), 0)
        wait_for(lambda: len(self.reports()) > before, "the report")
        self.assertEqual(self.send_report("--due"), 0, "only once")
        self.assertEqual(len(self.reports()), before + 1)

        self.store(enable_report=False)
        write(STATE, 'done_until="0"\n')
        log = SystemLog()
        self.assertEqual(self.send_report("--due"), 0)
        self.assertNotIn("report: sent", "\n".join(log.lines()))

    def test_what_the_self_check_finds_twice_is_told_once(self):
        self.store(enable_report=False)
        self.addCleanup(write, DEFAULTS, contents(DEFAULTS))
        self.addCleanup(os.unlink, CHECKS)
        write(DEFAULTS, "MAILVANE_CHECK_MAIL=yes\n")
        before = len(self.letters())
        write(CHECKS, "")
        for _ in range(2):
            self.assertEqual(len(self.letters()), before)
            write(CHECKS, re.sub("last_run.*", "", contents(CHECKS)))
            self.assertEqual(self.send_report("--due"), 0)
        wait_for(lambda: len(self.letters()) == before + 1, "the letter")
        text = self.letters()[-1].get_body(("plain",)).get_content()
        self.assertRegex(text, DOMAIN.join(("dns_mx +FAILED +", " has no MX record")))
        self.assertRegex(contents(CHECKS), 'told=".*dns_mx')
        self.assertEqual(self.send_report("--due"), 0, "not due")

    def test_the_process_that_speaks_to_the_server_has_a_user_of_its_own(self):
        with socket.create_server(("127.0.0.1", 0)) as server:
            server.settimeout(harness.PATIENCE)
            self.store(smtp_server="127.0.0.1", smtp_port=server.getsockname()[1])
            with subprocess.Popen([REPORT, "--now"], stderr=subprocess.DEVNULL) as sender:
                with server.accept()[0] as call:
                    end = "0100007F:%04X" % call.getpeername()[1]
                    rows = map(str.split, contents("/proc/net/tcp").splitlines())
                    user = next(int(row[7]) for row in rows if row[1] == end)
        self.assertEqual(user, pwd.getpwnam("mailvane-report").pw_uid)
        self.assertEqual(sender.returncode, 1)

    def test_a_secure_connection_needs_a_certificate_for_the_servers_name(self):
        log = SystemLog()
        self.store(smtp_server="localhost")
        self.assertEqual(self.send_report(), 1)
        self.assertIn("certificate", "\n".join(log.lines()))


tearDownModule = file_modes.check
