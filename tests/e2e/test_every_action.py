"""What holds for every action: who may not call it, and that a loaded page saved as it is changes
nothing."""
import os
import re
import unittest

import file_modes
import harness
from harness import ETC, post, read, request, snapshot

TABLES = os.path.join(os.path.dirname(__file__), "../../frame/action_tables.cpp")
FOREIGN = ({"Origin": "https://elsewhere.test"}, {"Referer": "http://elsewhere.test/"},
           {"Sec-Fetch-Site": "cross-site"})

# The pages that load and save the same members, and whom they are loaded for.
PAGES = (
    ("load_smtp", "save_smtp", {}),
    ("load_imap_pop3", "save_imap_pop3", {}),
    ("load_relay", "save_relay", {}),
    ("load_security", "save_security", {}),
    ("load_spam_config", "save_spam_config", {}),
    ("load_adv_anti_spam", "save_advance_anti_spam", {}),
    ("load_personal&user=alice", "save_personal", {"user": "alice"}),
    ("load_report", "save_report", {}),
)


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

    def assert_refused(self, status, what, answer):
        with self.subTest(what):
            self.assertEqual(answer.status, status)

    def assert_all_refused(self, status, **caller):
        """Every action, and an upload, for one caller."""
        before = snapshot(ETC)
        for action in READ:
            self.assert_refused(status, action, read(action, **caller))
        for action in WRITE:
            self.assert_refused(status, action, post({"action": action}, **caller))
        upload = form("list", "x@y.test OK")
        upload["headers"].update(caller.pop("headers", {"X-Mailvane": "1"}))
        self.assert_refused(status, "upload", request(**upload, **caller))
        self.assertEqual(snapshot(ETC), before)

    def test_callers_without_a_login(self):
        self.assert_all_refused(401, user=None)

    def test_users_who_are_no_administrators(self):
        self.assert_all_refused(403, user="alice")

    def test_pages_of_other_sites(self):
        for headers in FOREIGN:
            self.assert_all_refused(403, headers=headers)

    def test_browsers_that_do_not_say_where_a_change_comes_from(self):
        before = snapshot(ETC)
        changing = ("apply_access_setting", "apply_spam_blackwhite", "fresh_clam",
                    "generate_dkim_key")
        for action in changing:
            self.assert_refused(403, action, read(action))
        self.assert_refused(403, "upload", request(**form("list", "x@y.test OK")))
        self.assertEqual(snapshot(ETC), before)


class Unchanged(harness.Story):
    def test_a_page_saved_as_it_was_loaded_changes_nothing(self):
        done = post({"action": "save_relay", "smtp_relay_enabled": True, "smtp_relay_auth": True,
                     "smtp_relay_server": "relay.test", "smtp_relay_port": 587,
                     "smtp_relay_account": "me", "smtp_relay_password": "pw-relay"}).json()
        self.assertIs(done["success"], True, done)
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
        answer = post({"action": save, **page, **more}).json()
        self.assertIs(answer["success"], True, answer)


def tearDownModule():
    file_modes.check()


if __name__ == "__main__":
    unittest.main()
