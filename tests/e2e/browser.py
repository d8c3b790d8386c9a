"""Chromium in the world, as an administrator sees the console with it."""
import gzip
import json
import os
import tempfile
import urllib.parse

from selenium import webdriver
from selenium.common.exceptions import JavascriptException, StaleElementReferenceException
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

import contract
import harness

HOME = "http://127.0.0.1:8080/"
AXE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../console/vendor/axe-core/axe.min.js.gz")
WIDE, NARROW = 1280, 320
# Everything is checked once; what colours and widths change, again with those.
RULES = ["wcag2a", "wcag2aa", "wcag21a", "wcag21aa", "wcag22aa", "best-practice"]

# Goes to a page, and is done once that has been drawn: the frame after next comes after the effects of
# the first, which begin to load.
GO = """
    const [place, done] = arguments;
    if (location.hash === place) return void done();
    window.addEventListener("hashchange", () => requestAnimationFrame(() => requestAnimationFrame(() =>
        setTimeout(done))), {once: true});
    location.hash = place;
"""
SETTLED = """return document.querySelector("h1") !== null &&
    document.querySelector("[aria-busy=true], .saving") === null"""


class Browser:
    """A window; use it in a `with` block. Further words are options of the browser."""

    def __init__(self, *more, home=HOME):
        self._home = home
        self._folder = tempfile.TemporaryDirectory()
        self.downloads = self._folder.name
        options = webdriver.ChromeOptions()
        options.binary_location = "/usr/bin/chromium"
        for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                         "--no-first-run", "--lang=en", "--user-data-dir=" + self._folder.name, *more):
            options.add_argument(argument)
        options.add_experimental_option("prefs", {"download.default_directory": self._folder.name})
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        options.add_experimental_option("perfLoggingPrefs", {"enableNetwork": True, "enablePage": False})
        self.driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        self.driver.set_script_timeout(harness.PATIENCE)
        self.resize(WIDE)
        self._axe = None
        self._requests = {}

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.driver.quit()
        self._folder.cleanup()

    def open(self):
        """The page, before anybody has signed in."""
        self._axe = None
        self.resize(WIDE)
        self.driver.get(self._home)
        self.wait("#user")

    def sign_in(self, user="admin", password="pw-admin"):
        self.fill("#user", user)
        self.fill("#password", password + Keys.ENTER)

    def enter(self):
        """Opens the page and signs in."""
        self.open()
        self.sign_in()
        self.wait("nav")

    def be_in(self):
        """Signs in unless somebody is; on no page, so that the next one that is gone to loads anew."""
        if self.find("nav") and not self.find("dialog, .save-bar, .console[inert]"):
            self.go("nowhere")
            for button in self.find(".notice button"):
                self.driver.execute_script("arguments[0].click()", button)  # it may have gone by itself
        else:
            self.enter()

    def go(self, route):
        """Goes to a page and waits until it shows what it loads."""
        self.driver.execute_async_script(GO, "#/" + route)
        self.settled()

    def settled(self):
        """Waits until nothing is being loaded or saved."""
        harness.wait_for(lambda: self.driver.execute_script(SETTLED), "the end of loading")

    def find(self, selector):
        return self.driver.find_elements(By.CSS_SELECTOR, selector)

    def wait(self, selector, text=""):
        """The first element of the selector that has the text."""
        def shown():
            try:
                return [one for one in self.find(selector) if text in one.text]
            except StaleElementReferenceException:
                return []
        return harness.wait_for(shown, "%s %r" % (selector, text))[0]

    def button(self, text, within=""):
        """The button with this text."""
        def shown():
            try:
                return [one for one in self.find(within + " button") if one.text.strip() == text]
            except StaleElementReferenceException:
                return []
        return harness.wait_for(shown, "the button " + text)[0]

    def press(self, *keys):
        """Types where the focus is."""
        self.driver.switch_to.active_element.send_keys(*keys)

    def fill(self, selector, text):
        field = self.wait(selector)
        field.send_keys(Keys.CONTROL + "a")
        field.send_keys(text)

    def resize(self, width):
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": 900, "deviceScaleFactor": 1, "mobile": False})

    def connect(self, is_online):
        """Cuts the browser's network, requests under way too, or joins it again."""
        self.driver.execute_cdp_cmd("Network.enable", {})
        self.driver.execute_cdp_cmd("Network.emulateNetworkConditions", {
            "offline": not is_online, "latency": 0, "downloadThroughput": -1, "uploadThroughput": -1})

    def sideways(self):
        """By how many pixels the page is wider than the window."""
        return self.driver.execute_script("return document.documentElement.scrollWidth - document.documentElement.clientWidth")

    def check_looks(self, test):
        """Fails a test for faults of accessibility, in either colours, and for what does not fit a phone."""
        test.assertEqual(self.faults(), [])
        self.driver.execute_script("document.documentElement.dataset.theme = 'dark'")
        test.assertEqual(self.faults(["color-contrast"]), [], "dark")
        self.driver.execute_script("document.documentElement.dataset.theme = 'light'")
        self.resize(NARROW)
        test.assertEqual(self.sideways(), 0)
        test.assertEqual(self.faults(["target-size"]), [], "narrow")
        self.resize(WIDE)

    def log(self):
        """What the browser has complained about since it was last asked."""
        return [line["message"] for line in self.driver.get_log("browser")
                if line["level"] in ("SEVERE", "WARNING")]

    def done(self):
        """The actions and calls that the server has done for the page since this was last asked."""
        found = set()
        for line in self.driver.get_log("performance"):
            event = json.loads(line["message"])["message"]
            told = event["params"]
            if event["method"] == "Network.requestWillBeSent":
                self._requests[told["requestId"]] = told["request"]
            elif event["method"] == "Network.responseReceived" and told["requestId"] in self._requests:
                found |= done_by(self._requests.pop(told["requestId"]), told["response"])
        return found

    def faults(self, rules=None):
        """What axe finds, as lines. It runs beside the page, whose policy stays as it is."""
        if self._axe is None:
            frame = self.driver.execute_cdp_cmd("Page.getFrameTree", {})["frameTree"]["frame"]["id"]
            self._axe = self.driver.execute_cdp_cmd("Page.createIsolatedWorld", {
                "frameId": frame, "worldName": "axe"})["executionContextId"]
            with gzip.open(AXE, "rt", encoding="utf-8") as source:
                self._evaluate(source.read() + "; 0")
        only = {"type": "rule", "values": rules} if rules else {"type": "tag", "values": RULES}
        found = self._evaluate("axe.run(document, %s).then((all) => all.violations)" % json.dumps(
            {"runOnly": only, "resultTypes": ["violations"]}))
        return ["%s: %s" % (one["id"], node["html"][:200]) for one in found for node in one["nodes"]]

    def _evaluate(self, expression):
        answer = self.driver.execute_cdp_cmd("Runtime.evaluate", {
            "expression": expression, "contextId": self._axe, "awaitPromise": True,
            "returnByValue": True})
        if "exceptionDetails" in answer:
            raise JavascriptException(json.dumps(answer["exceptionDetails"]))
        return answer["result"].get("value")


def done_by(request, response):
    """The action or call of a request, as a set: empty when it was no such, or not done."""
    parts = urllib.parse.urlsplit(request["url"])
    if parts.path not in harness.CONTRACTS or response["status"] != 200 or contract.REASONS.lower() in map(
            str.lower, response["headers"]):
        return set()
    body = request.get("postData", "{}").encode()
    return {contract.action_of("%s?%s" % (parts.path, parts.query), request["headers"], body)[1]}
