"""Every page in every state that the descriptions and the network have for it, in a browser, against a
server that answers as it is told.

  test_states.py SITE [TEST]...
"""
import json
import os
import re
import sys
import tempfile
import threading
import unittest

from stub import TOP, Answer, Stub

sys.path[:0] = [str(TOP / "tools"), str(TOP / "console/make")]

import contract
import describe
from selenium.webdriver.common.keys import Keys

from browser import NARROW, WIDE, Browser
from mailvane.common import texts

PAGES = (TOP / "console/src/pages.js").read_text(encoding="utf-8")
PARAMETERS = {"alias": "?name=xalias_name0", "user": "?name=alice"}
ROUTES = [name + PARAMETERS.get(name, "") for name in re.findall(r'route: "(\w+)"', PAGES)]

PATIENCE = 20  # seconds

# Pauses pass in a fiftieth of their time. Patience with a server lasts as ever, unless a test says otherwise.
HASTE = """
const slow = window.setTimeout;
window.setTimeout = (work, ms, ...more) => slow(work, ms < 60000 ? ms / 50 : window.impatient ? ms / 200 : ms, ...more);
"""

UNTIL = "const until = (find, then) => { const found = find(); found ? then(found) : requestAnimationFrame(() => until(find, then)); };"

# Goes to a page, away from it first, and waits until nothing is being loaded.
VISIT = UNTIL + """
const [route, none, done] = arguments;
const heading = () => document.querySelector("h1")?.textContent;
location.hash = "#/-";
until(() => heading() === none, () => {
    location.hash = "#/" + route;
    until(() => heading() !== none && heading() && !document.querySelector("[aria-busy=true]"), () => done());
});
"""

# Presses the first of some elements that has a text and can be pressed, once it is there.
PRESS = UNTIL + """
const [selector, text, done] = arguments;
until(() => [...document.querySelectorAll(selector)].find((one) => one.textContent.includes(text) &&
    !one.matches(":disabled, [aria-disabled=true]")), (one) => { one.click(); done(); });
"""

# Fills the fields of the dialog, by their names.
FILL = UNTIL + """
const [values, done] = arguments;
until(() => document.querySelector("dialog [name]"), () => {
    for (const one of document.querySelectorAll("dialog [name]")) {
        if (values[one.name] === undefined || one.matches("select, [type=checkbox]")) continue;
        one.value = values[one.name];
        one.dispatchEvent(new Event("input", { bubbles: true }));
    }
    requestAnimationFrame(done);
});
"""

# Goes to a page, which may not come.
GO = "location.hash = '#/' + arguments[0]; requestAnimationFrame(arguments[1]);"

# Goes to a day of the mail log.
DAY = """
const field = document.querySelector("#log-day");
field.value = arguments[0];
field.dispatchEvent(new Event("change", { bubbles: true }));
arguments[1]();
"""

# All that is to be read, and the names of what is not.
WORDS = """
const words = new Set();
const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
while (walker.nextNode()) words.add(walker.currentNode.data.trim());
for (const name of ["aria-label", "placeholder", "title"]) {
    for (const one of document.querySelectorAll(`[${name}]`)) words.add(one.getAttribute(name).trim());
}
arguments[0]([...words].filter((word) => word.length > 3));
"""

# Turns a switch that has an effect.
TURN = "[...document.querySelectorAll('.settings .field:not(.off) input[type=checkbox]')].at(-1).click(); arguments[0]();"

# Gives up what is being changed, and closes what lies over the page.
CLOSE = """
document.querySelector("dialog button:not(.main):last-of-type")?.click();
document.querySelector(".save-bar button[type=button]")?.click();
for (const one of document.querySelectorAll(".notice button")) one.click();
requestAnimationFrame(arguments[0]);
"""

# Waits until one of some texts is told where failures are.
TOLD = UNTIL + """
const [texts, done] = arguments;
const places = () => [...document.querySelectorAll(".problem, .notice.bad, p.error")].map((one) => one.innerText).join(" ");
until(() => texts.some((text) => places().includes(text)), () => done());
"""

# What fields of a format take.
TAKEN = {"mail-domain": "new.example", "list-name": "someone@new.example", "copy-name": "bob", "copy-target": "a@new.example",
         "login": "bob", "file-type": "zip", "hostname": "new.example", "text": "x", "address": "a@new.example",
         "seconds": "1800000000", "rule-set": "x.cf"}
LINES = {"access": "a@new.example OK", "copies": "bob a@new.example", "black_white": "sender a@new.example",
         "rules": "score A 1", "aliases": "a: bob"}


class Catalogue:
    def __init__(self, language):
        self._texts = {}
        for topic in ("settings", "pages", "errors", "checks", "reasons", "console"):
            folder = TOP / ("console/texts/" if topic == "console" else "packaging/texts")
            path = folder / (language if topic == "console" else "%s.%s" % (language, topic))
            for section, entries in texts.read(str(path)).items():
                self._texts.update(("%s/%s/%s" % (topic, section, key), text) for key, text in entries.items())

    def __getitem__(self, path):
        return self._texts[path if path in self._texts else "console/" + path]

    def patterns(self):
        """Expressions for each text, with whatever stands in its placeholders."""
        return {path: re.compile(re.sub(r"\\\{[a-z]+\\\}", ".+", re.escape(text))) for path, text in self._texts.items()}


TEXTS = Catalogue("en")
API = describe.description(str(TOP / "docs"))


# What every answer is, and how that is told.
NO_ANSWER, ODD = ["failures/no_answer"], ["failures/no_answer", "failures/fault"]
FAULTS = {
    "an error without a body": (NO_ANSWER, {"status": 500}),
    "no JSON": (NO_ANSWER, {"body": b"<html>"}),
    "null": (NO_ANSWER, {"body": b"null"}),
    "members that are missing": (ODD, {"body": {"success": True}}),
    "another type": (ODD, {"body": 7}),
    "an end in the middle": (["failures/lost"], {"body": {"success": True, "more": "x" * 999}, "cut": True}),
    "no answer": (["failures/late"], {"gate": threading.Event()}),
    "a stop in the middle": (["failures/late"], {"body": {"success": True}, "gate": threading.Event(), "cut": True}),
    "another change under way": (["reasons/gate/busy"], {"body": {"error": "busy"}, "status": 503}),
    "the same, with a time": (["reasons/gate/busy"], {
        "body": {"error": "busy"}, "status": 503, "headers": {"Retry-After": "5"}}),
}


class States(unittest.TestCase):
    """The tests of a class have one window, and leave nothing in the browser's log."""

    @classmethod
    def setUpClass(cls):
        cls.stub = cls.enterClassContext(Stub(SITE))
        cls.browser = cls.enterClassContext(Browser("--host-resolver-rules=MAP *.test 127.0.0.1", home=cls.stub.home))
        cls.browser.driver.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": HASTE})
        cls.browser.driver.set_script_timeout(PATIENCE)
        cls.browser.enter()

    def tearDown(self):
        # The network's own lines tell of the statuses that the tests want, others of a page without TLS.
        self.assertEqual([line["message"] for line in self.browser.driver.get_log("browser")
                          if line["source"] != "network" and "untrustworthy" not in line["message"]], [])

    def run_in_page(self, script, *words):
        return self.browser.driver.execute_async_script(script, *words)

    def visit(self, route):
        self.run_in_page(VISIT, route, TEXTS["shell/no_page"])
        if route == "self_check":
            self.press(".page-head button")
            self.browser.settled()

    def press(self, selector, text=""):
        self.run_in_page(PRESS, selector, text)

    def fill(self, values):
        self.run_in_page(FILL, values)

    def choose(self, line):
        """Chooses a file of one line."""
        with tempfile.NamedTemporaryFile("w", suffix=".txt", delete=False) as file:
            file.write(line + "\n")
        self.addCleanup(os.remove, file.name)
        self.browser.wait("dialog input[type=file]").send_keys(file.name)

    def wait_told(self, *paths):
        self.run_in_page(TOLD, [TEXTS[path].partition("{")[0] for path in paths])


class Loading(States):
    def test_tells_every_fault_on_every_page(self):
        for name, (told, about) in FAULTS.items():
            self.browser.driver.execute_script("window.impatient = arguments[0]", "gate" in about)
            with self.stub.answering(everything=lambda _, about=about: Answer(**about)):
                for route in ROUTES:
                    with self.subTest(route, fault=name):
                        self.visit(route)
                        self.wait_told(*told)

    def test_asks_for_the_login_again_and_goes_on(self):
        with self.stub.answering(load_relay=lambda _: Answer(status=401)):
            self.run_in_page(GO, "relay")
            self.browser.wait("dialog.opaque h2", TEXTS["sign_in/again"])
        self.browser.fill("#password", "pw-admin" + Keys.ENTER)
        self.browser.wait("#field-smtp_relay_enabled")

    def test_shows_a_search_without_a_match_as_that(self):
        nothing = dict.fromkeys(("message_id", "date", "time", "size", "status", "mail_to", "mail_from"), "")
        with self.stub.answering(search_log=lambda _: {"success": True, "items": nothing, "total": 0}):
            self.visit("log?q=nothing")
            self.browser.wait(".empty", TEXTS["mail_log/no_match"])

    def test_goes_to_a_day_of_the_server(self):
        asked = []

        def log(members):
            asked.append(json.loads(members["searchParams"]).get("date_from"))
            return {**self.stub.usual("load_log"), "total": 250 if asked[-1] else 1000}

        about = {**self.stub.usual("about"), "zone": "Pacific/Apia"}
        with self.stub.answering(load_log=log, about=lambda _: about):
            self.browser.enter()
            self.visit("log")
            self.browser.wait(".list-head", "Pacific/Apia")
            self.run_in_page(DAY, "2026-06-30")
            self.browser.wait(".pager", TEXTS["pager/at"].format(page=3, pages=10))
        # The first second after that day, 13 hours before it is one in Greenwich.
        self.assertIn(str(1782864000 - 13 * 3600), asked)

    def test_says_that_a_part_of_the_console_cannot_be_had(self):
        self.browser.enter()
        with self.stub.answering(files=lambda path: b"" if path.endswith(".js") else None):
            self.visit("domains")
            self.wait_told("failures/not_loaded")
        self.press(".problem button", TEXTS["shell/try_again"])
        self.browser.wait(".rows")

    def test_says_that_the_server_has_a_newer_console(self):
        self.browser.enter()
        self.visit("smtp")
        self.run_in_page(TURN)
        with self.stub.answering(files=lambda path: b"" if path.endswith(".js") else b"<!doctype html>newer"):
            self.run_in_page(GO, "domains")
            self.browser.wait(".notice.bad", TEXTS["failures/outdated"])
            self.browser.wait(".save-bar", "1 change")
            self.run_in_page(CLOSE)
            self.visit("domains")
            self.wait_told("failures/outdated")
        self.press(".problem button", TEXTS["shell/reload"])
        self.browser.wait("#user")
        self.browser.enter()

    def test_refuses_a_password_over_a_line_that_others_can_read(self):
        self.browser.driver.get(self.stub.home.replace("127.0.0.1", "console.test"))
        self.browser.wait(".problem", TEXTS["sign_in/unsafe"])
        self.assertEqual(self.browser.find("input"), [])
        self.browser.enter()


class Security(States):
    def test_tells_what_of_a_page_is_stored_when_a_save_ends_halfway(self):
        before = self.stub.usual("load_security")
        stored = dict(before)

        def save(members):
            stored["enable_dmarc"] = members["enable_dmarc"]
            return self.stub.refusal("save_security", "common", "error_system")

        with self.stub.answering(load_security=lambda _: stored, save_security=save):
            self.visit("security")
            for name in ("enable_dmarc", "enable_spf_check"):
                self.press("#field-" + name)
            self.press(".save-bar .main")
            self.wait_told("form/partly")
            self.browser.wait(".problem", TEXTS["settings/titles/enable_dmarc"])
            self.browser.wait(".field.changed label", TEXTS["settings/titles/enable_spf_check"])
            self.assertEqual(len(self.browser.find(".field.changed")), 1)
            self.browser.check_looks(self)
        self.run_in_page(CLOSE)

    def test_asks_until_the_signatures_are_up_to_date(self):
        answers = [{"success": True, "isFinish": done, "status": word}
                   for done, word in ((True, "error"), (False, "fresh_clam"), (False, "fresh_clam"), (True, "done"), (True, "done"))]
        with self.stub.answering(check_virus_status=lambda _: answers.pop(0)):
            self.visit("security")
            self.press(".field button", TEXTS["security/update_signatures"])
            self.browser.wait(".field p[role=status]", TEXTS["security/virus_done"])
        self.assertEqual(answers, [])


class Looks(States):
    def test_failures_and_emptiness_are_accessible_and_fit(self):
        for kind, plan in (("failed", lambda name: Answer(status=500)), ("empty", self.stub.nothing)):
            names = {name for one in self.stub.contracts.values() for _, name in one.operations} - {"get_account_type"}
            with self.stub.answering(**{name: lambda _, name=name: plan(name) for name in names}):
                for route in ("overview", "log", "queue", "self_check", "smtp", "domains", "dns", "keys", "aliases", "users"):
                    with self.subTest(route, state=kind):
                        self.visit(route)
                        self.browser.check_looks(self)

    def test_dialogs_are_accessible_and_fit(self):
        choose = (self.press, ".choose")
        for route, *steps in (
                ("users", (self.press, ".page-head .main")),
                ("domains", (self.press, ".page-head .main"), (self.press, "dialog .main")),
                ("access", (self.press, ".page-head button", TEXTS["lists/import"]), (self.choose, "no line\na b c")),
                ("queue", choose, (self.press, ".deeds .danger")),
                ("aliases", choose, (self.press, ".list-head .danger")),
                ("log", (self.press, ".page-head .danger")),
                ("certificate", (self.press, ".page-head .main"))):
            with self.subTest(route):
                self.visit(route)
                for step, *words in steps:
                    step(*words)
                self.browser.check_looks(self)
            self.run_in_page(CLOSE)

    def test_what_lies_over_a_page_that_nobody_uses_is_accessible_and_fits(self):
        self.visit("relay")
        for minutes, dialog in ((14.5, "dialog"), (30, "dialog.opaque")):
            self.browser.driver.execute_script(
                "const at = Date.now() + arguments[0] * 60000; Date.now = () => at", minutes)
            self.browser.wait(dialog)
            self.browser.check_looks(self)
        self.browser.enter()


class German(States):
    def test_has_no_english_left_and_fits(self):
        german, english = Catalogue("de"), TEXTS.patterns()
        theirs = german.patterns().values()
        self.browser.driver.execute_script("localStorage.setItem('mailvane.language', 'de')")
        self.addCleanup(self.browser.driver.execute_script, "localStorage.clear()")
        self.browser.enter()
        none = german["shell/no_page"]
        for route in ROUTES:
            with self.subTest(route):
                self.run_in_page(VISIT, route, none)
                found = self.run_in_page(WORDS)
                self.assertGreater(len(found), 20)
                left = {(word, path) for word in found for path, pattern in english.items()
                        if pattern.fullmatch(word) and not any(one.fullmatch(word) for one in theirs)}
                self.assertEqual(left, set())
                self.assertEqual([word for word in found if re.fullmatch(r"[a-z_]+/[a-z_]+(/[\w.]+)?", word)], [])
                self.browser.resize(NARROW)
                self.assertEqual(self.browser.sideways(), 0)
                self.browser.resize(WIDE)


class Refusing(States):
    """Each errinfo of the descriptions is told where somebody meets it."""

    def test_every_errinfo_is_told(self):
        ways = {**self.ways_to_load(), **dict(self.ways_of_settings()), **dict(self.ways_of_lists()), **self.other_ways()}
        wanted = {}
        for name, section, key in self.stub.errinfos():
            wanted.setdefault(name, []).append((section, key))
        self.assertEqual(wanted.keys() - ways.keys(), set(), "nothing leads to these")
        for name, pairs in wanted.items():
            for section, key in pairs:
                with self.subTest(name, key=key):
                    self.meet(name, section, key, *ways[name])

    def meet(self, name, section, key, route, *steps):
        refusal = self.stub.refusal(name, section, key)
        [reason] = json.loads(refusal.headers[contract.REASONS])
        with self.stub.answering(**{name: lambda _: refusal}):
            self.visit(route)
            for step, *words in steps:
                step(*words)
            self.wait_told("errors/%s/%s" % (section, key), "reasons/reasons/" + reason["code"])
        self.run_in_page(CLOSE)

    def ways_to_load(self):
        """The page that is opened, for each action that a page asks for by itself."""
        ways = {"search_log": ["log?q=something"]}
        for route in ROUTES:
            self.stub.asked.clear()
            self.visit(route)
            ways.update({name: [route] for name in self.stub.asked if name not in ways or name in API["pages"].get(
                route.partition("?")[0], {}).values()})
        return ways

    def ways_of_settings(self):
        for name, page in API["pages"].items():
            route = "user" + PARAMETERS["user"] if name == "personal" else name
            yield page["save"], [route, (self.run_in_page, TURN), (self.press, ".save-bar .main")]

    def ways_of_lists(self):
        for name, one in API["lists"].items():
            values = {member: field.get("min", 1) if field["type"] == "integer" else TAKEN.get(field.get("format"), "new.example")
                      for member, field in one["fields"].items()}
            send = [(self.fill, values), (self.press, "dialog form .main")]
            add = [name, (self.press, ".page-head button.main"), *send]
            yield one["delete"]["action"], [name, (self.press, ".choose"), (self.press, ".list-head .danger"), (self.press, "dialog .main")]
            if "edit" in one:
                yield one["edit"]["action"], [name, (self.press, ".for-buttons button, td input[role=switch]"), *(
                    send if "add" in one else [])]
            if "add" in one:
                yield one["add"]["action"], add
            if "apply" in one:
                yield one["apply"], add
            if "import" in one:
                take = [name, (self.press, ".page-head button", TEXTS["lists/import"]), (self.choose, LINES[one["import"]["lines"]]),
                        (self.press, "dialog form .main")]
                yield from ((action, take) for action in (one["import"]["action"], "upload"))

    def other_ways(self):
        agree = (self.press, "dialog form .main")
        return {
            "generate_dkim_key": ["security", (self.press, ".field button", TEXTS["security/new_key"]), agree],
            "fresh_clam": ["security", (self.press, ".field button", TEXTS["security/update_signatures"])],
            "apply_alias_info": ["alias" + PARAMETERS["alias"], (self.press, ".members button"),
                                 (self.press, ".save-bar .main"), agree],
            "clear_log": ["log", (self.press, ".page-head button", TEXTS["mail_log/clear"]),
                          (self.type_word, TEXTS["mail_log/clear_word"]), agree],
        }

    def type_word(self, word):
        self.browser.wait("dialog input").send_keys(word)


if __name__ == "__main__":
    SITE = os.path.abspath(sys.argv.pop(1))
    unittest.main()
