"""What administrators do with the console beside single pages: they find their way by keys, change the
same thing at the same time, and try whether mail goes through."""
import contextlib
import os

from selenium.webdriver.common.keys import Keys

import harness
from browser import Browser
from console import drives
from harness import control, delivered, load, read, tell, wait_for
from test_console_upkeep import Upkeep


class Palette(Upkeep):
    def focused(self):
        return self.browser.driver.switch_to.active_element.get_attribute("id")

    def find(self, words):
        self.browser.press(Keys.CONTROL + "k")
        self.browser.wait("[role=combobox]")
        self.browser.press(words)
        return self.browser.wait("[role=option][aria-selected=true]").text

    def test_leads_to_pages_and_settings_by_keys_alone(self):
        browser = self.browser
        self.assertEqual(self.find("aliases"), "Aliases")
        self.assertEqual(browser.faults(), [])
        browser.press(Keys.ENTER)
        browser.wait("h1", "Aliases")

        self.assertIn("Largest message", self.find("larger refused"))  # words of its help
        browser.press(Keys.ENTER)
        wait_for(lambda: self.focused() == "field-message_size_limit_mb", "the focus on the field")
        self.assertTrue(browser.driver.current_url.endswith("#/smtp"))
        self.find("smtp")
        browser.press(Keys.ARROW_DOWN, Keys.ARROW_UP, Keys.ARROW_UP)
        browser.press(Keys.ESCAPE)
        wait_for(lambda: self.focused() == "field-message_size_limit_mb", "the focus where it was")

        self.find("smtp_relay_account")  # takes no effect while the relay is off
        browser.press(Keys.ENTER)
        browser.wait("h1", "Relay")
        wait_for(lambda: "Takes effect with" in browser.driver.switch_to.active_element.text, "the focus on the field's row")

    def test_keeps_what_is_not_saved_and_speaks_the_chosen_language(self):
        browser = self.browser
        browser.go("smtp")
        browser.fill("#field-smtp_hostname", "draft.test")
        self.find("submission port")
        browser.press(Keys.ENTER)
        browser.wait("#field-smtp_hostname")
        self.find("mail log")
        browser.press(Keys.ENTER)
        browser.button("Cancel", "dialog").click()
        self.assertEqual(browser.wait("#field-smtp_hostname").get_attribute("value"), "draft.test")
        browser.button("Discard").click()
        browser.wait(".preferences summary").click()
        browser.driver.execute_script("""
            const choice = document.querySelector(".preferences select");
            choice.value = "de";
            choice.dispatchEvent(new Event("change", {bubbles: true}))""")
        browser.button("Abmelden")
        self.addCleanup(browser.enter)
        self.addCleanup(browser.driver.execute_script, "localStorage.clear()")
        browser.wait(".find").click()
        self.find("warteschlange")


class TwoAdministrators(Upkeep):
    """What somebody else changed since a page was loaded is shown before it is overwritten."""

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.other = cls.enterClassContext(Browser())
        cls.other.enter()

    def setUp(self):
        super().setUp()
        for window in (self.browser, self.other):
            window.enter()

    def choose_to(self, button):
        self.browser.wait("dialog h2", "Somebody else has changed this")
        self.agree(button)

    def change(self, browser, route, field, value):
        browser.go("about")  # so that the page is loaded anew
        browser.go(route)
        wait_for(lambda: not browser.find(".notice"), "the end of older notices")
        browser.fill("#field-" + field, value)

    def save(self, browser):
        browser.press(Keys.CONTROL + "s")
        browser.wait(".notice", "Saved and in force.")

    def both(self, route, field, mine, theirs):
        """One types, the other saves, the first one saves; what the question shows."""
        self.change(self.browser, route, field, mine)
        self.change(self.other, route, field, theirs)
        self.save(self.other)
        self.browser.button("Save").click()
        return self.browser.wait("dialog tbody tr").text.split()[-2:]

    def test_on_a_page_of_settings(self):
        browser, field = self.browser, "#field-smtp_hostname"
        self.assertEqual(self.both("smtp", field[7:], "mine.test", "theirs.test"), ["mine.test", "theirs.test"])
        browser.wait("dialog p", "admin changed these settings at")
        self.assertEqual(browser.faults(), [])
        self.choose_to("Look first")
        browser.wait(".was", "Stored: theirs.test")
        self.assertEqual(browser.find(field)[0].get_attribute("value"), "mine.test")
        self.save(browser)
        self.assertEqual(load()["smtp_hostname"], "mine.test")
        self.both("smtp", field[7:], "again.test", "others.test")
        self.choose_to("Take the stored ones")
        wait_for(lambda: browser.find(field)[0].get_attribute("value") == "others.test", "their value")
        self.assertEqual((browser.find(".save-bar"), load()["smtp_hostname"]), ([], "others.test"))

    def test_on_the_page_about_security(self):
        limit = "smtpd_sasl_sender_rate_limit"
        tell("save_security", reject_sasl_sender_rate_exceed=True)
        self.addCleanup(tell, "save_security", reject_sasl_sender_rate_exceed=False)
        self.assertEqual(self.both("security", limit, "70", "80"), ["70", "80"])
        self.choose_to("Save mine")
        self.browser.wait(".notice", "Saved and in force.")
        self.assertEqual(read("load_security").json()[limit], 70)

    def test_on_an_alias(self):
        def stored():
            return next((row["alias_member"] for row in read("alias_enum&limit=9").json()["items"]), "")
        tell("apply_alias_info", aliasname="sales", member=[
            {"name": name, "type": 0, "is_join": True} for name in ("alice", "bob")])
        self.addCleanup(tell, "alias_del", alias=["sales"])
        browser = self.browser
        for window, name in ((browser, "bob"), (self.other, "alice")):
            window.go("alias?name=sales")
            window.wait("[aria-label='Remove %s']" % name).click()
        self.other.press(Keys.CONTROL + "s")
        self.other.button("Save", "dialog").click()
        wait_for(lambda: stored() == "bob", "the other's change")
        browser.button("Save").click()
        self.assertIn("Removed by somebody else meanwhile", browser.wait("dialog form").text)
        self.choose_to("Look first")
        wait_for(lambda: not browser.find("ul.members .member"), "what would be left")
        browser.button("Discard").click()
        browser.fill("#outside", "eve@example.org")
        browser.button("Add the addresses").click()
        tell("alias_del", alias=["sales"])
        browser.button("Save").click()
        browser.wait("dialog p", "The alias was deleted or renamed")
        self.choose_to("Save mine")
        wait_for(lambda: stored() == "bob, eve@example.org", "the alias made again")

    def test_on_an_entry_of_a_list(self):
        def stored():
            return {row["sasl_sender"]: row["quota"] for row in read("load_sender_quota").json()["settings"]}
        browser = self.browser
        tell("set_sender_quota", sasl_sender="bob", quota=5)
        browser.go("sender_quota")
        browser.wait("[aria-label='Change bob']").click()
        browser.fill("dialog [name=quota]", "6")
        tell("set_sender_quota", sasl_sender="bob", quota=7)
        browser.button("Save", "dialog").click()
        browser.wait("dialog tbody", "7")
        browser.button("Look first", "dialog").click()
        browser.wait("dialog .was", "Stored: 7")
        browser.button("Save", "dialog").click()
        wait_for(lambda: stored() == {"bob": 6}, "what was looked at")
        browser.settled()
        browser.button("Add", ".page-head").click()  # of one that somebody else makes meanwhile
        browser.fill("dialog [name=sasl_sender]", "alice")
        browser.fill("dialog [name=quota]", "8")
        tell("set_sender_quota", sasl_sender="alice", quota=9)
        browser.button("Add", "dialog").click()
        self.choose_to("Take the stored ones")
        self.assertEqual(stored(), {"bob": 6, "alice": 9})
        browser.wait("[aria-label='Change bob']").click()
        browser.fill("dialog [name=quota]", "10")
        tell("delete_sender_quota", delete_list=["bob", "alice"])
        browser.button("Save", "dialog").click()
        browser.wait("dialog p", "The entry was deleted or renamed")
        self.choose_to("Save mine")
        wait_for(lambda: stored() == {"bob": 10}, "the entry made again")
        tell("delete_sender_quota", delete_list=["bob"])


class Trials(Upkeep):
    """What the pages try out on the server."""

    @drives("relay_test")
    def test_the_relay_host_step_by_step(self):
        browser = self.browser
        tell("save_relay", smtp_relay_enabled=True, smtp_relay_server="nobody.test", smtp_relay_tls=False)
        self.addCleanup(tell, "save_relay", smtp_relay_enabled=False)
        browser.go("relay")
        browser.button("Try it").click()
        browser.wait(".steps li")
        self.assertEqual([" ".join(row.text.split("\n")[:2]) for row in browser.find(".steps li")], [
            "Failed Its name has an address", "Not reached It can be reached", "Not reached It answers as a mail server does"])
        self.assertEqual(browser.faults(), [])
        browser.fill("#field-smtp_relay_port", "2525")
        browser.wait(".card .help", "What is stored is tried")
        browser.button("Discard").click()

    @drives("mail_test")
    def test_a_message_that_arrives_and_one_that_waits(self):
        browser = self.browser
        browser.go("overview")
        self.try_mail("Delivered", "bob@mv.test")
        browser.wait(".lines", "status=sent")
        delivered("bob", "Test of the mail server")
        browser.button("Send").click()
        browser.wait("[role=status]", "less than a minute ago")
        control("dovecot", "stop")
        self.addCleanup(control, "dovecot", "start")
        self.try_mail("Waits", "dovecot-lmtp")
        browser.wait(".card p a", "Queue").click()
        browser.wait("h1", "Queue")

    def try_mail(self, outcome, said):
        """Sends a message to bob, as if the last one were long ago."""
        with contextlib.suppress(FileNotFoundError):
            os.unlink("/run/mailvane/mail_test")
        self.browser.fill("#field-mail-test", "bob")
        self.browser.button("Send").click()
        self.browser.wait("[role=status] .status", outcome)
        self.browser.wait("[role=status] .actions", said)
