"""What holds for every action: who may not call it, and that a loaded page saved as it is changes
nothing."""
import os
import re

import file_modes
import harness
from harness import ETC, post, read, request, snapshot

TABLES = os.path.join(os.path.dirname(__file__), "../../frame/action_tables.cpp")
FOREIGN = ({"Origin": "https://elsewhere.test"}, {"Referer": "http://elsewhere.test/"},
           {"Sec-Fetch-Site": "cross-site"})

# The pages that load and save the same members, and whom they are loaded for.
PAGES = (
    *(("load_" + page, "save_" + page, {})
      for page in ("smtp", "imap_pop3", "relay", "security", "spam_config", "report")),
    ("load_adv_anti_spam", "save_advance_anti_spam", {}),
    ("load_personal&user=alice", "save_personal", {"user": "alice"}))


def actions(table):
    """The names in one of the program's tables."""
    with open(TABLES, encoding="utf-8") as file:
        rows = file.read().partition(table + "[] = {")[2].partition("};")[0]
    return re.findall(r'\{"(\w+)",', rows)


READ = actions("kReadTable")
WRITE = actions("kWriteTable")


def contents():
    """As the snapshot, but a file may have been written again."""
    return {name: (state[0], state[2]) if isinstance(state, tuple) else state
            for name, state in snapshot(ETC).items()}


def form(name, content):
    """Body and headers of an upload."""
    body = ("--limit\r\nContent-Disposition: form-data; name=\"file\"; filename=\"%s\"\r\n"
            "Content-Type: text/plain\r\n\r\n%s\r\n--limit--\r\n" % (name, content)).encode()
    return {"body": body, "headers": {"Content-Type": "multipart/form-data; boundary=limit"}}


class Strangers(harness.Story):
    """No action answers them, and nothing changes."""

    def assert_all_refused(self, status, **caller):
        """Every action, and an upload, for one caller."""
        before = snapshot(ETC)
        for action in READ:
            self.assertEqual(read(action, **caller).status, status, action)
        for action in WRITE:
            self.assertEqual(post({"action": action}, **caller).status, status, action)
        upload = form("list", "x@y.test OK")
        upload["headers"].update(caller.pop("headers", {"X-Mailvane": "1"}))
        self.assertEqual(request(**upload, **caller).status, status)
        self.assertEqual(snapshot(ETC), before)

    def test_nobody_users_who_are_no_administrators_and_pages_of_other_sites(self):
        for status, caller in ((401, {"user": None}), (403, {"user": "alice"}),
                               *((403, {"headers": headers}) for headers in FOREIGN)):
            with self.subTest(**caller):
                self.assert_all_refused(status, **caller)


class Unchanged(harness.Story):
    def test_a_page_saved_as_it_was_loaded_changes_nothing(self):
        self.change("save_relay", smtp_relay_enabled=True, smtp_relay_server="relay.test",
                    smtp_relay_auth=True, smtp_relay_account="me", smtp_relay_password="pw-relay")
        self.addCleanup(post, {"action": "save_relay"})
        for load, save, more in PAGES:
            with self.subTest(save):
                loaded = read(load).json()
                self.save_as_loaded(load, save, more)  # a page never saved before has no file yet
                self.assertEqual(read(load).json(), loaded)
                before = contents()
                self.save_as_loaded(load, save, more)
                changed = contents().items() ^ before.items()
                self.assertEqual(sorted(name for name, _ in changed), [])
        self.assertEqual(harness.settings()["smtp_relay_password"], "pw-relay")

    def save_as_loaded(self, load, save, more):
        page = read(load).json()
        self.assertIs(page.pop("success"), True, page)
        self.change(save, **page, **more)


tearDownModule = file_modes.check
