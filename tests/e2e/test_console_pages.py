"""The console in a browser, on the real server."""
import fcntl
import gzip
import os
import re
import shutil
import smtplib
import sys
from pathlib import Path

from selenium.common.exceptions import JavascriptException
from selenium.webdriver.common.keys import Keys

import harness
from console import Console, drives
from harness import DOMAIN, banner, load, read, send, tell, wait_for

TOP = Path(__file__).resolve().parents[2]
sys.path[:0] = [str(TOP / "console/make"), str(TOP / "tests/api/added_setting")]

import add_row
import build
import describe
from bundler import Bundler

HTPASSWD = harness.ETC + "/htpasswd"
ROUTES = re.findall(r'route: "(\w+)"', (TOP / "console/src/pages.js").read_text(encoding="utf-8"))
SITE = harness.TARGET + "/console"
HOSTILE = '<img/src=x/onerror=alert(1)>"\'&amp;{{7*7}}'


class SigningIn(Console):
    def test_is_asked_for_in_the_page_and_forgotten_on_leaving(self):
        browser = self.browser
        self.expected_log = ("401", "403")
        browser.open()
        browser.sign_in(password="wrong")
        browser.wait("#sign-in-failure", "Name or password is wrong.")
        browser.sign_in("alice", "pw-alice")
        browser.wait("#sign-in-failure", "not that of an administrator")
        browser.sign_in()
        browser.wait(".who", "admin")
        self.assertEqual(self.without_login(), 401)
        browser.button("Sign out").click()
        browser.wait("[role=status]", "You have signed out.")
        browser.driver.refresh()
        browser.wait("#user")
        self.assertEqual(self.without_login(), 401)

    def without_login(self):
        """What the browser itself adds to a request: nothing that signs in."""
        return self.browser.driver.execute_async_script(
            "const done = arguments[0]; fetch('/mailvane.cgi?action=load_smtp', {credentials: 'omit'})"
            ".then((answer) => done(answer.status))")

    def test_again_keeps_the_draft_and_goes_on(self):
        browser = self.browser
        self.expected_log = ("401", "ERR_")  # the server restarts
        browser.enter()
        browser.go("smtp")
        browser.fill("#field-smtp_hostname", "kept.test")
        passwords = Path(HTPASSWD).read_text(encoding="ascii")
        self.addCleanup(harness.control, "web", "restart")
        self.addCleanup(Path(HTPASSWD).write_text, passwords, encoding="ascii")
        self.change_password("pw-other")
        browser.button("Save").click()
        browser.wait("dialog h2", "Sign in again")
        browser.fill("#password", "pw-other" + Keys.ENTER)
        browser.wait(".notice", "Saved and in force.")
        self.assertIn("kept.test", banner())

    def test_is_asked_for_when_nobody_uses_the_page(self):
        browser = self.browser
        browser.open()
        browser.driver.execute_script("localStorage.setItem('mailvane.idle', '0.05')")  # minutes
        self.addCleanup(browser.driver.execute_script, "localStorage.clear()")
        browser.open()
        browser.sign_in()
        browser.wait("dialog.opaque h2", "Sign in again")
        self.assertEqual(len(browser.find(".console[inert]")), 1)
        browser.button("Sign in as somebody else; changes that are not saved are lost", "dialog").click()
        wait_for(lambda: not browser.find(".console"), "the end of the page")

    @staticmethod
    def change_password(password):
        made = harness.run("/usr/bin/openssl", "passwd", "-6", password).strip()
        lines = Path(HTPASSWD).read_text(encoding="ascii").splitlines()
        changed = ["admin:" + made if line.startswith("admin:") else line for line in lines]
        Path(HTPASSWD).write_text("\n".join(changed) + "\n", encoding="ascii")


class Settings(Console):
    @drives("load_smtp", "save_smtp")
    def test_a_change_is_in_force_when_the_page_says_so(self):
        browser = self.browser
        browser.go("smtp")
        browser.fill("#field-smtp_hostname", "changed.test")
        browser.wait(".save-bar", "1 change")
        browser.press(Keys.CONTROL + "s")
        browser.wait(".notice", "Saved and in force.")
        self.assertIn("changed.test", banner())
        self.assertEqual(browser.find(".save-bar"), [])

    def test_a_refusal_stands_at_its_field(self):
        browser = self.browser
        browser.go("smtp")
        browser.fill("#field-smtp_port", "70000")
        browser.button("Save").click()
        browser.wait(".field.wrong .error", "too small or too large")
        with harness.listener(2626):
            browser.fill("#field-smtp_port", "2626")
            browser.button("Save").click()
            browser.wait(".problem", "Not saved")
            browser.wait(".field.wrong .error", "Another program uses the port.")
            self.assertEqual(browser.driver.switch_to.active_element.get_attribute("id"),
                             "field-smtp_port")
        self.assertEqual(load()["smtp_port"], 25)
        browser.button("Discard").click()

    def test_what_somebody_else_changed_is_shown_first(self):
        browser = self.browser
        browser.go("smtp")
        browser.fill("#field-message_size_limit_mb", "60")
        browser.fill("#field-smtp_hostname", "mine.test")
        self.assert_saved(smtp_hostname="theirs.test", message_size_limit_mb=70)
        browser.button("Save").click()
        browser.wait("dialog tbody", "theirs.test")
        browser.button("Take the stored ones", "dialog").click()
        wait_for(lambda: not browser.find("dialog"), "the end of the question")
        browser.settled()
        self.assertEqual((load()["smtp_hostname"], load()["message_size_limit_mb"]), ("theirs.test", 70))

    def test_a_lost_connection_ends_in_the_truth(self):
        browser = self.browser
        self.expected_log = ("ERR_INTERNET_DISCONNECTED",)
        browser.go("smtp")
        browser.fill("#field-smtp_hostname", "cut.test")
        browser.connect(False)
        self.addCleanup(browser.connect, True)
        browser.button("Save").click()
        browser.wait(".saving")
        browser.connect(True)
        browser.wait(".problem", "Not saved")

        with open(harness.ETC + "/lock", "rb") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            browser.button("Save").click()
            wait_for(self.changing, "the request")
            browser.connect(False)
        wait_for(lambda: harness.settings()["smtp_hostname"] == "cut.test", "the save")
        browser.connect(True)
        browser.wait(".notice", "Saved and in force.")

    def test_changes_keep_the_page(self):
        browser = self.browser
        browser.go("relay")
        browser.wait("#field-smtp_relay_enabled").click()
        browser.driver.execute_script("location.hash = '#/log'")
        browser.button("Cancel", "dialog").click()
        self.assertTrue(browser.driver.current_url.endswith("#/relay"))
        browser.driver.execute_script("location.hash = '#/log'")
        browser.button("Leave the page", "dialog").click()
        browser.wait("h1", "Mail log")


class Log(Console):
    def test_finds_filters_and_shows_hostile_mail_as_text(self):
        for number in range(3):
            send("someone%d@elsewhere.test" % number, ["bob@" + DOMAIN], "to be found")
        with self.assertRaises(smtplib.SMTPException):
            send("someone@elsewhere.test", ["nobody@" + DOMAIN], "refused")
        with smtplib.SMTP("127.0.0.1", 25, "client.test") as client:
            client.sendmail("x@elsewhere.test", ["bob@" + DOMAIN],
                            "Message-ID: <%s@x>\nSubject: %s\n\nhostile\n" % (HOSTILE, HOSTILE))
        wait_for(lambda: read("search_log&limit=9&query=onerror").json()["total"],
                 "the hostile mail in the log")
        browser = self.browser
        browser.go("log?status=2")
        browser.wait(".count-line", "1 entry.")
        browser.go("log?in=mail_from&q=someone1@")
        browser.wait(".count-line", "1 entry.")
        browser.go("log")
        browser.fill("#log-search", "onerror")
        browser.wait(".count-line", "1 entry.")
        browser.wait(".more").click()
        self.assertIn("onerror=alert(1)", browser.wait(".details").text)
        browser.fill("#log-search", "nothing like this")
        browser.wait(".empty", "No entry matches.")


class Everything(Console):
    def test_is_accessible_and_fits(self):
        browser = self.browser
        browser.open()
        self.assertEqual(browser.faults(), [], "signing in")
        browser.enter()
        for route in ROUTES:
            browser.go(route)
            with self.subTest(route):
                browser.check_looks(self)

    def test_takes_no_markup(self):
        self.expected_log = ("TrustedHTML", "TrustedScript")
        self.browser.open()
        for sink in ("document.body.innerHTML = '<b>x</b>'",
                     "document.createElement('script').text = '1'"):
            with self.subTest(sink), self.assertRaises(JavascriptException):
                self.browser.driver.execute_script(sink)

    @drives("load_imap_pop3", "save_imap_pop3")
    def test_can_be_used_by_keys_alone(self):
        browser = self.browser
        browser.open()
        browser.press("admin", Keys.TAB, "pw-admin", Keys.ENTER)
        browser.wait("nav")
        browser.press(Keys.TAB)
        self.tab_to("a", "IMAP and POP3")
        browser.press(Keys.ENTER)
        browser.wait("#field-pop3_enabled")
        self.assertEqual(browser.driver.switch_to.active_element.tag_name, "h1")
        self.tab_to("#field-pop3_enabled")
        browser.press(Keys.SPACE)
        self.tab_to("button", "Save")
        browser.press(Keys.ENTER)
        browser.wait(".notice", "Saved and in force.")
        self.assertTrue(harness.answers(110))
        self.tab_to("button", "Sign out")
        browser.press(Keys.ENTER)
        browser.wait("#user")
        tell("save_imap_pop3", pop3_enabled=False)

    def tab_to(self, selector, text=""):
        """Presses the tabulator until it comes there."""
        for _ in range(80):
            focused = self.browser.driver.switch_to.active_element
            if focused in self.browser.find(selector) and text in focused.text:
                return
            focused.send_keys(Keys.TAB)
        self.fail("no way to %s %s" % (selector, text))


class Sources(Console):
    """What is built from the sources, and from other descriptions than those of the package."""

    ESBUILD = "/usr/bin/esbuild"

    def test_functions_do_what_they_say(self):
        """tests/console/functions.js, in the browser and under the policy of the page."""
        build.build("/tmp/console", "0", self.ESBUILD, str(TOP / "docs"))
        bundle = Bundler(self.ESBUILD, "/tmp/console/made").one(str(TOP / "tests/console/functions.js"))
        Path(SITE + "/assets/functions.js.gz").write_bytes(gzip.compress(bundle))
        self.addCleanup(os.remove, SITE + "/assets/functions.js.gz")
        self.browser.open()
        failures = self.browser.driver.execute_async_script(
            "const done = arguments[0]; import('/assets/functions.js').then("
            "({run}) => done(run()), (fault) => done([String(fault)]))")
        self.assertEqual(failures, [])

    def test_a_setting_that_is_added_has_its_field(self):
        self.build_with_added_setting("/tmp/added")
        self.addCleanup(self.browser.open)  # so that the next test has the console of the package
        self.addCleanup(os.rename, SITE + ".aside", SITE)
        self.addCleanup(shutil.rmtree, SITE)
        os.rename(SITE, SITE + ".aside")
        shutil.copytree("/tmp/added/console/site", SITE)

        browser = self.browser
        browser.enter()
        browser.go("relay")
        field = "#field-" + add_row.NAME
        label = browser.wait("label[for=%s]" % field[1:])
        self.assertEqual((label.text, browser.find(field + "-help")[0].text, browser.find(field)[0].is_enabled()),
                         (add_row.TITLE, add_row.HELP, False))
        browser.wait("#field-smtp_relay_enabled").click()
        browser.fill(field, "no host name")
        browser.button("Save").click()
        browser.wait(field + "-error", "does not have the form")
        browser.button("Discard").click()

    def build_with_added_setting(self, folder):
        """The console, from the descriptions of a program with one setting more."""
        shutil.copytree(TOP / "packaging/texts", folder + "/packaging/texts")
        os.mkdir(folder + "/docs")
        harness.run(os.environ["MAILVANE_BUILD"] + "/tests/api/added_setting/describe_with_added", folder)
        for name in describe.DOCUMENTS:
            shutil.copy(TOP / "docs" / name, folder + "/docs")
        self.addCleanup(setattr, build, "CATALOGUE", build.CATALOGUE)
        build.CATALOGUE = folder + "/packaging/texts"
        build.build(folder + "/console", "0", self.ESBUILD, folder + "/docs")
