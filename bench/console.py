"""What somebody waits for in the console. See run-console, which has the mail log made first, outside of
the world: console.py BUILD."""
import contextlib
import os
import shutil
import statistics
import sys
import unittest

from measuring import TARGET, make_mail_log

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


def tell(name, times):
    print("%-28s %6.0f ms, worst %.0f" % (name, statistics.median(times), max(times)), flush=True)


def take(database):
    """Puts a database in the place of the mail log's, with its owner and mode."""
    path = os.path.realpath(TARGET + "/maillog/maillog.db")
    for ending in ("-wal", "-shm"):
        with contextlib.suppress(FileNotFoundError):
            os.unlink(path + ending)
    shutil.copyfile(database, path)


class Waits(unittest.TestCase):
    def test_all(self):
        with Browser() as browser:
            self.measure_start(browser)
            harness.control("maillog", "stop")
            take(make_mail_log(os.environ["MAILVANE_BUILD"], ENTRIES) + "/maillog.db")
            browser.enter()
            for name, place in PAGES:
                times = []
                for _ in range(ROUNDS):
                    browser.go("about")
                    times.append(browser.driver.execute_async_script(TURN, "#/" + place))
                tell("log, " + name, times)
            with open("/proc/loadavg", encoding="ascii") as load:
                print("load " + load.read().strip())

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
        tell("first contentful paint", painted)
        tell("signing in to filled form", filled)


if __name__ == "__main__":
    make_mail_log(sys.argv[1], ENTRIES)
