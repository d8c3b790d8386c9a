"""What holds for every action and every call: who may not make it, and that a loaded page saved as it
is changes nothing."""
import fcntl
import os
import re
import urllib.parse

import file_modes
import harness
from machine import contents as contents_of, write
from harness import ETC, TARGET, post, read, request, snapshot

TOP = os.path.join(os.path.dirname(__file__), "../../")
FOREIGN = ({"Origin": "https://elsewhere.test"}, {"Referer": "http://elsewhere.test/"},
           {"Sec-Fetch-Site": "cross-site"})

# The pages that load and save the same members, and whom they are loaded for.
PAGES = (
    *(("load_" + page, "save_" + page, {})
      for page in ("smtp", "imap_pop3", "relay", "security", "spam_config", "report")),
    ("load_adv_anti_spam", "save_advance_anti_spam", {}),
    ("load_personal&user=alice", "save_personal", {"user": "alice"}))


def names(source, table, demands=""):
    """The names in one of the tables of a program; of calls those with these demands."""
    rows = contents_of(TOP + source).partition(table + "[] = {")[2].partition("};")[0]
    return re.findall(r'\{"(\w+)",[^}]*%s' % demands, rows)


READ = names("frame/action_tables.cpp", "kReadTable")
WRITE = names("frame/action_tables.cpp", "kWriteTable")
CALLS = "upkeep/call_table.cpp"
TELLING = names(CALLS, "kReads")
DOING = names(CALLS, "kChanges")
ALONE = [name for demands in (r"Asks\(\)", r"Does\(\)")
         for table in ("kReads", "kChanges") for name in names(CALLS, table, demands)]


OPERATIONS = harness.CONTRACTS["/upkeep.cgi"].operations
HOSTILE = ("", "\0", "a\0b", "x\ny: z", "../../etc/shadow", "-d", "ALL", "--all", "$(reboot)", "`id`", "; id",
           "%s%n", "'\"<b>&", "a" * 10000, "\u202egnp.exe", "\x7f\x1b[2J", "\U0001f4a9" * 50, "\ud800")


def members_of(operation):
    """Pairs of name and schema: what a call takes."""
    for parameter in operation.get("parameters", []):
        if parameter["in"] == "query":
            yield parameter["name"], parameter["schema"]
    body = operation.get("requestBody", {}).get("content", {}).get("application/json", {})
    yield from ((name, schema) for name, schema in body.get("schema", {}).get("properties", {}).items()
                if name != "call")


def texts_of_calls():
    """Kind, call, member and schema of every text, and list of texts, that a call takes."""
    for (kind, call), operation in OPERATIONS.items():
        for member, schema in members_of(operation):
            if schema.get("type", "string") in ("string", "array"):
                yield kind, call, member, {"type": "string", **schema}


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
        for call in TELLING:
            self.assertEqual(request("/upkeep.cgi?call=" + call, **caller).status, status, call)
        for call in DOING:
            self.assertEqual(post({"call": call}, path="/upkeep.cgi", **caller).status, status, call)
        upload = form("list", "x@y.test OK")
        upload["headers"].update(caller.pop("headers", {"X-Mailvane": "1"}))
        self.assertEqual(request(**upload, **caller).status, status)
        self.assertEqual(snapshot(ETC), before)

    def test_nobody_users_who_are_no_administrators_and_pages_of_other_sites(self):
        for status, caller in ((401, {"user": None}), (403, {"user": "alice"}),
                               *((403, {"headers": headers}) for headers in FOREIGN)):
            with self.subTest(**caller):
                self.assert_all_refused(status, **caller)


class Calls(harness.Story):
    """What the rows of the calls demand holds whatever a configuration file says."""

    PLAIN = {"Content-Type": "application/x-www-form-urlencoded"}

    def test_each_comes_in_its_own_way_alone(self):
        weak = TARGET + "/etc/web.conf"
        before = contents_of(weak) if os.path.exists(weak) else None
        write(weak, 'state_changing_actions=""\n')
        self.addCleanup(os.unlink if before is None else write, weak,
                        *([] if before is None else [before]))
        state = snapshot(ETC)
        for call in DOING:
            for answer in (request("/upkeep.cgi?call=" + call),
                           request("/upkeep.cgi", body=("call=" + call).encode(),
                                   headers=self.PLAIN)):
                self.assertIs(answer.json()["success"], False, call)
        for call in (*TELLING, "nonsense", "", "../about", "about\0", "\U0001f4a9"):
            answer = post({"call": call}, path="/upkeep.cgi").json()
            self.assertIs(answer["success"], False, call)
        upload = form("list", "x")
        upload["headers"]["X-Mailvane"] = "1"
        self.assertIs(request("/upkeep.cgi", **upload).json()["success"], False)
        self.assertEqual(snapshot(ETC), state)

    def test_no_text_is_more_than_text(self):
        """Each text of each call, with the others left out: refused, or an answer as described."""
        places = list(texts_of_calls())
        self.assertGreater(len(places), 20)
        before = snapshot(ETC, "/home"), contents_of("/etc/passwd"), contents_of("/etc/shadow")
        for kind, call, member, schema in places:
            for text in HOSTILE:
                with self.subTest(call, member=member, text=text[:40]):
                    if kind == "read":
                        query = urllib.parse.urlencode({"call": call, member: text}, errors="surrogatepass")
                        answer = request("/upkeep.cgi", body=query.encode(),
                                         headers={**self.PLAIN, "X-Mailvane": "1"})
                    else:
                        value = [text] if schema["type"] == "array" else text
                        answer = post({"call": call, member: value}, path="/upkeep.cgi")
                    refused = (400,) if "\0" in text or "\ud800" in text else ()
                    self.assertIn(answer.status, (200, *refused))
        after = snapshot(ETC, "/home"), contents_of("/etc/passwd"), contents_of("/etc/shadow")
        self.assertEqual(after, before)

    def test_every_call_answers(self):
        """As described; one that tells succeeds unless it lacks a member, and one that lacks all of
        its members stores nothing."""
        self.assertEqual({name for _, name in OPERATIONS}, {*TELLING, *DOING})
        state = snapshot(ETC)
        for (kind, call), operation in OPERATIONS.items():
            if kind == "read":
                answer = request("/upkeep.cgi?call=" + call, headers={"X-Mailvane": "1"})
                lacks = any(one.get("required") for one in operation.get("parameters", []))
                self.assertEqual(answer.json()["success"], not lacks, answer)
            elif list(members_of(operation)):
                self.assertEqual(post({"call": call}, path="/upkeep.cgi").status, 200, call)
        self.assertEqual(snapshot(ETC), state)

    def test_one_of_a_kind_at_a_time(self):
        os.makedirs("/run/mailvane/turns", mode=0o700, exist_ok=True)
        for call in ALONE:
            turn = os.open("/run/mailvane/turns/" + call, os.O_RDWR | os.O_CREAT, 0o600)
            fcntl.flock(turn, fcntl.LOCK_EX)
            answer = (post({"call": call}, path="/upkeep.cgi") if call in DOING else
                      request("/upkeep.cgi?call=" + call, headers={"X-Mailvane": "1"}))
            os.close(turn)
            self.assertEqual((answer.status, answer.json()["error"]), (503, "busy"), call)


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
