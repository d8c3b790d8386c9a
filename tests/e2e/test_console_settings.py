"""The pages of settings of the console, and those about mail that has passed, in a browser on the real
server: each save is seen in mail, and what the pages tell is what has happened."""
import hashlib
import os
import smtplib

import harness
import test_scanner as scanner
from console import Console, drives
from harness import DOMAIN, control, delivered, read, send, wait_for
from machine import write
from relay_host import RelayHost

ALICE, BOB = "alice@" + DOMAIN, "bob@" + DOMAIN


class Services(Console):
    @drives("load_relay", "save_relay")
    def test_the_relay_host(self):
        self.addCleanup(harness.tell, "save_relay", smtp_relay_enabled=False)
        self.browser.go("relay")
        self.set_fields(smtp_relay_enabled=True, smtp_relay_server="127.0.0.1", smtp_relay_port="2525",
                        smtp_relay_tls=False)
        self.save()
        with RelayHost(2525) as host:
            send(ALICE, ["someone@elsewhere.test"], "by relay", port=587, login="alice")
            wait_for(lambda: host.has("by relay"), "the mail at the relay host")

    @drives("load_adv_anti_spam", "save_advance_anti_spam")
    def test_clients_must_greet(self):
        def code_without_greeting():
            with smtplib.SMTP("127.0.0.1", 25, timeout=harness.PATIENCE) as client:
                return client.docmd("MAIL FROM:<x@elsewhere.test>")[0]
        self.put_back("load_adv_anti_spam", "save_advance_anti_spam")
        self.assertEqual(code_without_greeting(), 250)
        self.browser.go("adv_anti_spam")
        self.set_fields(require_helo=True)
        self.save()
        self.assertEqual(code_without_greeting(), 503)


class Filtering(Console):
    def setUp(self):
        super().setUp()
        self.put_back("load_spam_config", "save_spam_config")
        self.put_back("load_security", "save_security")

    @drives("load_security", "save_security", "generate_dkim_key", "dkim_list")
    def test_mail_is_signed_with_a_new_key(self):
        browser = self.browser
        browser.go("security")
        browser.button("New key pair").click()
        self.agree("Make the key pair")
        key = browser.wait(".code", "v=DKIM1").text
        self.assertEqual(key, "v=DKIM1; k=rsa; p=" + read("load_security").json()["dkim_public_key"])
        self.set_fields(enable_dkim=True)
        self.save()
        send(ALICE, [BOB], "signed", port=587, login="alice")
        self.assertIn("DKIM-Signature", delivered("bob", "signed"))
        browser.go("keys")
        told = browser.wait("tbody tr", "Signs mail").find_element("css selector", "code").text
        digest = hashlib.sha256(key.partition("p=")[2].encode()).hexdigest().upper()
        self.assertTrue(told and digest.startswith(told), told)

    @drives("check_virus_status", "fresh_clam", "load_spam_config", "save_spam_config")
    def test_viruses_are_found_once_there_are_signatures_and_spam_is_refused(self):
        scanner.set_signatures(False)
        self.tell_updater("")
        browser = self.browser
        browser.go("security")
        self.set_fields(anti_virus_enable=True, spam_enable=True)
        self.save()
        self.assertEqual(scanner.finished(), "error")
        write("/srv/extra.ndb", scanner.SIGNATURE)
        self.tell_updater("DatabaseCustomURL file:///srv/extra.ndb\n")
        browser.button("Update the signatures").click()
        wait_for(lambda: os.path.exists(scanner.SIGNATURES + "/extra.ndb"), "the signatures")
        self.assertEqual(scanner.finished(), "done")
        browser.go("spam_config")
        self.set_fields(spam_action="Refuse it", virus_action="Refuse it")
        self.save()
        self.assertEqual(scanner.finished(), "done")
        browser.go("security")
        browser.wait("[role=status]", "The anti-virus engine runs.")
        self.assertEqual([scanner.verdict(kind)[0] for kind in ("clean", "spam", "virus")], [250, 554, 554])

    @staticmethod
    def tell_updater(line):
        """Where the updater fetches signatures from; the usual places are out of reach."""
        excluded = "".join("ExcludeDatabase %s\n" % name for name in ("main", "daily", "bytecode") if line)
        write(scanner.UPDATER_FRAGMENT, "MaxAttempts 1\n" + excluded + line)
        scanner.render()


class Reports(Console):
    @drives("load_report", "save_report", "report_now")
    def test_one_is_sent_at_once_or_said_why_not(self):
        self.put_back("load_report", "save_report")
        browser = self.browser
        browser.go("report")
        browser.button("Send a report").click()
        browser.wait("[role=status] .error", "Not sent")
        self.set_fields(report_rcpt=BOB, report_sender_name="The server", report_sender_mail=ALICE,
                        smtp_server="127.0.0.1", smtp_port="25", smtp_security_conn=False, smtp_auth=False)
        self.save()
        browser.button("Send a report").click()
        browser.wait("[role=status] p", "127.0.0.1 port 25 has taken the report to " + BOB)
        delivered("bob", "Mail report of")


class PassedMail(Console):
    @drives("overview_load", "load_log", "queue_list", "quarantine_list", "get_account_type")
    def test_the_overview_counts_it(self):
        with self.assertRaises(smtplib.SMTPException):
            send("counted@elsewhere.test", ["nobody@" + DOMAIN], "bounced")
        send("counted@elsewhere.test", [BOB], "counted")
        wait_for(lambda: read("search_log&limit=9&query=counted").json()["total"] == 2, "the entries")
        browser = self.browser
        browser.go("overview")
        counted = read("overview_load&type=0&scale=24").json()["statistic"]
        browser.wait(".legend")
        self.assertEqual([one.text for one in browser.find(".legend b")],
                         [str(sum(int(one[name]) for one in counted)) for name in ("inbound", "outbound", "bounce")])
        browser.button("30 days").click()
        browser.settled()
        browser.wait("tbody tr", "counted@elsewhere.test")
        browser.go("about")
        browser.wait("dd", "Accounts of this machine")

    @drives("mailvane_check")
    def test_the_self_check_finds_a_server_that_is_down(self):
        # A mail server that finds nobody to ask about logins serves nobody for a minute.
        self.addCleanup(control, "postfix", "start")
        self.addCleanup(control, "postfix", "stop")
        control("dovecot", "stop")
        self.addCleanup(control, "dovecot", "start")
        browser = self.browser
        browser.go("self_check")
        browser.button("Check again").click()
        browser.wait("li.failed", "IMAP")
        browser.settled()
        control("dovecot", "start")
        browser.button("Check again").click()
        wait_for(lambda: not [one for one in browser.find("li.failed") if "IMAP" in one.text], "a better result")

    @drives("load_log", "search_log", "log_enum", "log_lines", "export_log", "export_postfix_log", "clear_log")
    def test_the_log_is_searched_saved_and_cleared(self):
        send("logged@elsewhere.test", [BOB], "logged")
        wait_for(lambda: read("search_log&limit=9&query=logged@").json()["total"], "the entry")
        browser = self.browser
        browser.go("log?in=mail_from&q=logged@&log=" + read("log_enum").json()["items"][0]["value"])
        browser.wait(".count-line", "1 entry.")
        browser.wait(".more").click()
        browser.wait(".lines", "status=sent")
        browser.go("log?q=logged@")
        browser.button("Save as CSV").click()
        self.assertIn(",logged@elsewhere.test,%s," % BOB, self.saved("mail-log.csv"))
        browser.button("Save as HTML").click()
        self.agree("Save the file")
        self.assertIn('<td align="center">logged@elsewhere.test</td>', self.saved("mail-log.html"))
        browser.button("Save text log").click()
        self.assertIn("from=<logged@elsewhere.test>", self.saved("maillog.txt"))
        browser.button("Clear the log").click()
        browser.fill("dialog input", "delete")
        self.agree("Clear the log")
        browser.wait(".notice", "The log is cleared.")
        self.assertEqual(read("search_log&limit=9&query=logged@").json()["total"], 0)
