"""What somebody waits for in the console. See run-console, which has the mail log made first, outside of
the world: console.py BUILD."""
import os
import statistics
import sys
import unittest

from measuring import make_mail_log, take_mail_log, tell

if __name__ != "__main__":  # there is a world
    import harness
    from browser import Browser

ROUNDS = int(os.environ.get("MAILVANE_ROUNDS", "10"))
ENTRIES = 1_000_000
PAGES = (
    ("first page", "log"),
    ("bounced", "log?status=bounced"),
    ("one sender", "log?in=mail_from&q=user77@"),
    ("rare word", "log?q=quixotic"),
    ("last page", "log?page=%d" % (ENTRIES // 100)),
)
FIRST_PAINT = """return performance.getEntriesByType("paint").find(
    (one) => one.name === "first-contentful-paint").startTime"""
# From the key that signs in to the field that shows what is stored.
WATCH = """
    addEventListener("submit", () => {
        const start = performance.now();
        const look = () => document.querySelector("[name=smtp_hostname]")?.value ?
            (window.waited = performance.now() - start) : requestAnimationFrame(look);
        look();
    }, {capture: true, once: true});
"""
# From the change of the address to the first row that was not there, or to none, and no more loading.
TURN = """
    const [place, done] = arguments;
    const start = performance.now();
    document.querySelectorAll("main table, main .empty").forEach((old) => old.setAttribute("data-old", ""));
    const look = () => document.querySelector("main .count-line, main .empty") &&
        !document.querySelector("main [aria-busy=true]") && performance.now() - start > 20 ?
        done(performance.now() - start) : requestAnimationFrame(look);
    location.hash = place;
    requestAnimationFrame(() => requestAnimationFrame(look));
"""


def show(name, times, size=0):
    """What is waited for in the median of some times, and at worst."""
    tell("console", name, statistics.median(times), "ms", size)
    tell("console", name + ", worst", max(times), "ms", size)


class Waits(unittest.TestCase):
    def test_all(self):
        with Browser() as browser:
            self.measure_start(browser)
            harness.control("maillog", "stop")
            take_mail_log(make_mail_log(os.environ["MAILVANE_BUILD"], ENTRIES))
            browser.enter()
            for name, place in PAGES:
                times = []
                for _ in range(ROUNDS):
                    browser.go("about")
                    times.append(browser.driver.execute_async_script(TURN, "#/" + place))
                show("log, " + name, times, ENTRIES)

    def measure_start(self, browser):
        painted, filled = [], []
        for _ in range(ROUNDS):
            browser.driver.get("about:blank")
            browser.driver.execute_cdp_cmd("Network.clearBrowserCache", {})
            browser.open()
            painted.append(browser.driver.execute_script(FIRST_PAINT))
            browser.driver.execute_script("location.hash = '#/smtp'")
            browser.driver.execute_script(WATCH)
            browser.sign_in()
            filled.append(harness.wait_for(lambda: browser.driver.execute_script("return window.waited"), "the form"))
        show("first contentful paint", painted)
        show("signing in to the filled form", filled)


if __name__ == "__main__":
    make_mail_log(sys.argv[1], ENTRIES)
