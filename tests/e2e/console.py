"""What the stories of the console share: one browser, signed in, and what it has the server do."""
import contextlib
import functools
import unittest
from pathlib import Path

from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import Select

import harness
from browser import Browser
from harness import wait_for


def drives(*names):
    """Marks a test whose pages have the server do these actions and calls. tests/console/test_drives.py
    looks for each that there is."""
    def marked(test):
        @functools.wraps(test)
        def driven(self):
            test(self)
            missing = set(names)
            with contextlib.suppress(AssertionError):
                wait_for(lambda: missing.difference_update(self.browser.done()) or not missing, "the answers")
            self.assertEqual(missing, set(), "was not done for the pages")
        driven.drives = names
        return driven
    return marked


class Console(harness.Story):
    """All tests of a file share a window, which stays signed in. None leaves anything in its log."""

    browser = None
    expected_log = ()

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        if Console.browser is None:
            unittest.addModuleCleanup(setattr, Console, "browser", None)
            Console.browser = unittest.enterModuleContext(Browser())

    def setUp(self):
        super().setUp()
        self.browser.be_in()
        self.browser.log()
        self.browser.done()

    def tearDown(self):
        unexpected = [line for line in self.browser.log()
                      if not any(part in line for part in self.expected_log)]
        self.assertEqual(unexpected, [])

    @staticmethod
    def changing(program="mailvane.cgi"):
        """Processes of requests that want to change something."""
        found = []
        for number in harness.run("pgrep", "-x", program, check=False).split():
            with contextlib.suppress(OSError):
                if b"REQUEST_METHOD=POST" in Path("/proc", number, "environ").read_bytes():
                    found.append(number)
        return found

    def put_back(self, load, save, **given):
        """What a page of settings has now comes back after the test."""
        page = harness.read(load).json()
        del page["success"]
        self.addCleanup(harness.tell, save, **page, **given)

    def save(self):
        self.browser.button("Save", ".save-bar").send_keys(Keys.ENTER)  # a notice may lie over it
        wait_for(lambda: not self.browser.find(".save-bar"), "the end of the save")
        self.browser.wait(".notice", "Saved and in force.")

    def set_fields(self, within="", **fields):
        """Fills fields of a form: texts, choices by their titles, and whether a box is ticked."""
        for name, value in fields.items():
            field = self.browser.wait("%s [name='%s']" % (within, name))
            if field.tag_name == "select":
                Select(field).select_by_visible_text(value)
            elif isinstance(value, bool):
                if field.is_selected() != value:
                    field.send_keys(Keys.SPACE)
            else:
                self.browser.fill("%s [name='%s']" % (within, name), value)

    def submit(self, button, **fields):
        """Fills the form of the dialog and sends it."""
        self.set_fields("dialog", **fields)
        self.browser.button(button, "dialog").click()

    def agree(self, text):
        """Answers a question, or sends a form that is taken."""
        self.browser.button(text, "dialog").click()
        self.no_dialog()

    def no_dialog(self):
        wait_for(lambda: not self.browser.find("dialog"), "the end of the dialog")

    def saved(self, name):
        """The text of a file that the browser saves."""
        path = Path(self.browser.downloads, name)
        wait_for(path.exists, name)
        text = path.read_text(encoding="utf-8")
        path.unlink()
        return text
