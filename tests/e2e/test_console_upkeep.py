"""The pages of the console about mail that waits or is kept, users, names, certificates and history, in
one browser on the real server."""
import fcntl
import os
import pwd
import smtplib

import harness
import nameserver
from console import Console, drives
from harness import DOMAIN, ask, control, delivered, load, run, send, settings, wait_for
from machine import contents, failing, in_place_of, write
from test_calls_people import TLS_PORT, login, make, shown
from test_calls_mail import BOB, CAROL, QUARANTINE, STRANGER
from test_scanner import message

HTPASSWD = harness.ETC + "/htpasswd"
HOSTILE = '<img/src=x/onerror=alert(1)>"\'&amp;{{7*7}}\N{RIGHT-TO-LEFT OVERRIDE}'


class Upkeep(Console):
    def choose(self, name):
        """Ticks the row in whose name this stands."""
        self.browser.wait("[aria-label*=\"%s\"].choose" % name).click()


class Queue(Upkeep):
    def setUp(self):
        super().setUp()
        control("dovecot", "stop")
        self.addCleanup(control, "dovecot", "start")

    def waiting(self):
        return {one["sender"]: one["queue"] for one in ask("queue_list")["messages"]}

    @drives("queue_list", "queue_message", "queue_hold", "queue_delete", "queue_flush", "queue_release",
            "log_lines")
    def test_what_waits_is_seen_held_let_go_and_deleted(self):
        send("held@elsewhere.test", [BOB], "held")
        send("gone@elsewhere.test", [BOB, CAROL], "gone")
        with smtplib.SMTP("127.0.0.1", 25, "client.test", harness.PATIENCE) as client:
            client.sendmail("hostile@elsewhere.test", [BOB], (
                "Subject: %s\nX-%s: %s\n\nx\n" % (HOSTILE, "y" * 60, "z" * 900)).encode())
        wait_for(lambda: len(self.waiting()) == 3 and all(
            recipient["reason"] for one in ask("queue_list")["messages"] for recipient in one["recipients"]), "the reasons")
        browser = self.browser
        browser.go("overview")
        browser.wait(".figures dd", "3")
        browser.go("queue")
        self.assertIn("dovecot-lmtp", browser.wait(".reason").text)
        browser.wait("[aria-label*=hostile].more").click()
        browser.wait(".headers dd", "onerror=alert(1)")
        browser.wait(".lines", "status=deferred")
        self.assertEqual(browser.faults(), [])

        self.choose("held")
        browser.button("Hold").click()
        browser.wait(".status", "Held")
        self.assertEqual(self.waiting()["held@elsewhere.test"], "hold")
        browser.fill("input[type=search]", "gone@")
        browser.wait(".count-line", "1 message found")
        self.choose("gone")
        browser.button("Delete").click()
        self.assertIn("gone@elsewhere.test", browser.wait("dialog li").text)
        self.agree("Delete")
        browser.wait(".empty", "No message matches.")
        self.assertNotIn("gone@elsewhere.test", self.waiting())

        browser.go("queue")
        browser.wait(".count-line", "2 messages")
        control("dovecot", "start")
        browser.button("Try all now").click()
        wait_for(lambda: list(self.waiting()) == ["held@elsewhere.test"], "what is not held to be delivered")
        browser.button("Look again").click()
        browser.wait(".count-line", "1 message")
        browser.wait("thead input").click()
        browser.button("Let go").click()
        delivered("bob", "held")
        browser.go("log?in=mail_from&q=held@")
        browser.wait(".more").click()
        browser.wait(".lines", "status=sent")


class Quarantine(Upkeep):
    @drives("quarantine_list", "quarantine_text", "quarantine_raw", "quarantine_learn",
            "quarantine_release", "quarantine_delete")
    def test_kept_mail_is_read_taught_delivered_and_deleted(self):
        harness.tell("save_spam_config", spam_enable=True, spam_action="quarantine", spam_reject_score=12)
        self.addCleanup(harness.tell, "save_spam_config", spam_enable=False)
        self.addCleanup(lambda: [os.unlink(QUARANTINE + "/" + name) for name in os.listdir(QUARANTINE)])
        with smtplib.SMTP("127.0.0.1", 25, "client.test", harness.PATIENCE) as client:
            client.send_message(message("spam", "aside " + HOSTILE), STRANGER, [BOB])
        real = wait_for(lambda: ask("quarantine_list")["messages"], "the quarantine")[0]["id"]
        write(QUARANTINE + "/made", "Subject: made\nContent-Type: multipart/mixed; boundary=b\n\n--b\n\n"
              "<script>alert(2)</script>%s\n--b\nContent-Type: image/png; name=\"<b>x.png\"\n\nx\n--b--\n" % HOSTILE)
        browser = self.browser
        browser.go("quarantine")
        browser.wait("td.for-subject", "aside <img/src=x/onerror=alert(1)>")
        browser.wait("[aria-label*=made].more").click()
        self.assertIn("<script>alert(2)</script><img/src=x", browser.wait(".letter").text)
        self.assertEqual(browser.wait(".parts li").text.split(" image/png")[0], "<b>x.png")
        self.assertEqual(browser.faults(), [])

        browser.wait("[aria-label*=aside].more").click()
        browser.button("Save as it came").click()
        self.assertIn("XJS*C4JDBQADN1", self.saved(real + ".eml"))
        self.choose("aside")
        browser.button("Teach: spam").click()
        browser.wait(".notice", "The spam filter has learned 1 message.")
        self.assertIn('"spam": 1', run(harness.TARGET + "/bin/mailvanectl", "spam", "status", "--json"))
        self.choose("aside")
        browser.button("Deliver").click()
        delivered("bob", "aside")
        browser.settled()
        browser.wait("thead input").click()
        browser.button("Delete").click()
        self.agree("Delete")
        browser.wait(".empty", "Nothing is kept.")
        self.assertNotIn(real, os.listdir(QUARANTINE))


class People(Upkeep):
    @drives("user_list", "user_add", "user_show", "user_password", "user_remove")
    def test_a_user_comes_gets_another_password_and_goes(self):
        harness.tell("save_imap_pop3", imap_enabled=True, imap_port=143)
        browser = self.browser
        browser.go("users")
        browser.button("New user").click()
        self.submit("Make the user", name="Dora", password="short")
        browser.wait("#field-name-error", "does not have the form")
        browser.wait("#field-password-error", "too short")
        self.submit("Make the user", name="dora", password="the first one")
        self.assertIn("IMAP: %s, port 143, STARTTLS" % DOMAIN, browser.wait("dialog .letter").text)
        self.assertEqual(browser.faults(), [])
        self.agree("Close")
        login("dora", "the first one")

        browser.wait("td a", "dora").click()
        browser.button("New password").click()
        self.submit("Set it", password="the second one")
        browser.wait(".notice", "dora has the new password.")
        login("dora", "the second one")
        harness.tell("apply_alias_info", aliasname="music", member=[{"name": "dora", "type": 0, "is_join": True}])
        self.addCleanup(harness.tell, "alias_del", alias=["music"])
        browser.button("Remove the user").click()
        browser.fill("dialog input", "dora")
        self.agree("Remove and delete the mailbox")
        browser.wait(".notice", "music")
        self.assertRaises(KeyError, pwd.getpwnam, "dora")
        self.assertFalse(os.path.exists("/home/dora"))

    @drives("about", "own_password")
    def test_the_own_password_is_changed_and_the_page_goes_on(self):
        self.expected_log = ("ERR_", "401")  # until the server has restarted
        self.addCleanup(self.browser.enter)
        self.addCleanup(control, "web", "restart")
        self.addCleanup(write, HTPASSWD, contents(HTPASSWD))
        browser = self.browser
        browser.go("about")
        browser.button("Change the password").click()
        self.submit("Change", old="not this one", new="another s3cret")
        browser.wait("#field-old-error")
        self.submit("Change", old="pw-admin")
        browser.wait(".notice", "The password is changed; the new one holds.")
        self.assertEqual(harness.read("load_smtp").status, 401)
        browser.go("smtp")
        browser.wait("#field-smtp_hostname")


class Names(Upkeep):
    @drives("dns_records", "dns_check")
    def test_records_are_compared_with_the_dns(self):
        server = nameserver.NameServer("mx-host=%s,other.test,10" % DOMAIN, "txt-record=%s,v=spf1 mx ~all" % DOMAIN)
        server.start()
        self.addCleanup(server.stop)
        browser = self.browser
        browser.go("dns")
        browser.button("Compare with the DNS").click()
        browser.wait(".records .status")
        states = [one.text.split()[0] + " " + one.find_element("css selector", ".status").text
                  for one in browser.find(".records li")]
        self.assertEqual(states[:3], ["MX Differs", "SPF Published", "DMARC Missing"])
        browser.wait(".records code", "other.test")
        self.assertEqual(browser.faults(), [])


class Certificates(Upkeep):
    def setUp(self):
        super().setUp()
        self.addCleanup(control, "web", "restart")
        self.expected_log = ("ERR_",)  # while the server restarts
        self.addCleanup(os.environ.pop, "MAILVANE_WEB_TLS_PORT")
        os.environ["MAILVANE_WEB_TLS_PORT"] = str(TLS_PORT)
        control("web", "restart")
        self.browser.go("about")  # so that the page begins anew

    def install(self, pair):
        browser = self.browser
        browser.button("Install another one").click()
        for name, text in pair.items():
            write("/tmp/%s.pem" % name, text)
            browser.wait("[aria-label*=file]#%s ~ input, #field-%s ~ input" % (name, name)).send_keys("/tmp/%s.pem" % name)
        browser.button("Put in force", "dialog").click()

    @drives("tls_show", "tls_install", "tls_remove")
    def test_one_is_installed_and_the_page_tells_what_became_of_it(self):
        browser = self.browser
        browser.go("certificate")
        good, other = make("good", DOMAIN), make("other", DOMAIN)
        self.install({**good, "key": other["key"]})
        browser.wait("#field-key-error", "does not belong")
        browser.button("Cancel", "dialog").click()
        self.install(good)
        browser.wait(".end.done", "The certificate is in force.")
        self.assertEqual(shown(TLS_PORT), browser.wait("dd code").text)
        with failing("web"):
            self.install(other)
            browser.wait(".end.kept", "the certificate before is in force again")
        self.assertEqual(shown(TLS_PORT), browser.wait("dd code").text)
        browser.button("Remove").click()
        self.agree("Remove")
        browser.wait(".end.done")
        self.assertIs(ask("tls_show")["installed"], False)

    def test_a_lost_answer_ends_in_the_truth(self):
        browser = self.browser
        self.addCleanup(browser.connect, True)
        browser.go("certificate")
        pair = make("cut", DOMAIN)
        browser.connect(False)
        self.install(pair)
        browser.wait(".end.lost")
        browser.connect(True)
        browser.wait(".end.unsaved", "The change was not made")
        with open(harness.ETC + "/lock", "rb") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            self.install(pair)
            browser.wait("dialog dd", DOMAIN)  # whom it is for, before it is sent
            wait_for(lambda: self.changing("upkeep.cgi"), "the request")
            browser.connect(False)
        wait_for(lambda: ask("tls_show")["installed"], "the certificate")
        browser.connect(True)
        browser.wait(".end.done", "The certificate is in force.")
        browser.button("Remove").click()
        self.agree("Remove")
        browser.wait(".end.waiting")
        browser.wait(".end.done")


class Changes(Upkeep):
    @drives("progress", "generations", "rollback")
    def test_the_steps_of_a_save_are_told_and_it_is_taken_back(self):
        before = settings()
        script = harness.TARGET + "/scripts/postfix.sh"
        browser = self.browser
        browser.go("smtp")
        browser.fill("#field-smtp_hostname", "told.example.test")
        with in_place_of(script, 'while [ -e /run/wait ]; do sleep 0.1; done\nexec %s.real "$@"\n' % script):
            write("/run/wait", "")
            browser.button("Save").click()
            browser.wait(".step", "Step")
            os.unlink("/run/wait")
            browser.wait(".notice", "Saved and in force.")
        browser.go("history")
        self.assertIn("admin", browser.find("tbody tr")[0].text)
        browser.wait("tbody button", "Go back").click()
        self.assertEqual(browser.faults(), [])
        self.agree("Go back")
        browser.wait(".notice", "The earlier state is in force")
        self.assertEqual((load()["smtp_hostname"], settings()), (before["smtp_hostname"], before))

    @drives("confirm", "take_back")
    def test_a_change_that_waits_is_confirmed_or_taken_back(self):
        write("/root/waits.yaml", "format: 1\nsettings: {smtp_hostname: waits.example.test}\n")
        before, browser = settings(), self.browser
        for button, told, name in (("Take back", "The state before", before["smtp_hostname"]),
                                   ("Confirm", "The change stays", "waits.example.test")):
            run(harness.TARGET + "/bin/mailvanectl", "apply", "--confirm", "3600", "/root/waits.yaml")
            browser.go("overview")
            browser.go("smtp")
            self.assertIn("root has made it", browser.wait(".problem[role=alert]").text)
            self.assertEqual(browser.faults(), [])
            browser.button(button).click()
            browser.wait(".notice", told)
            wait_for(lambda: not browser.find(".problem"), "the end of what waits")
            self.assertEqual((settings()["smtp_hostname"], ask("about")["unconfirmed"]), (name, None))
