"""The pages of the mail log on mail that was really sent."""
import json
import urllib.parse

import harness
from harness import DOMAIN, delivered, post, read, run, send, wait_for

BOB = "bob@" + DOMAIN
ALICE = "alice@" + DOMAIN
TEXT_LOG = "/var/log/mailvane/maillog"


def page(action, **parameters):
    """The JSON answer of an action of the read table."""
    return read(action + "&" + urllib.parse.urlencode(parameters)).json()


def log(criteria=None, **parameters):
    parameters.setdefault("limit", 50)
    return page("load_log", searchParams=json.dumps(criteria or {}), **parameters)


def sent_to(recipient, sender):
    """The log's rows of mail between two addresses."""
    return log({"mail_to": recipient, "mail_from": sender})["items"]


def period(counts, name):
    return sum(entry[name] for entry in counts)


class Pages(harness.Story):
    def row_of(self, recipient, sender, status):
        """Waits for the one row with a status."""
        def found():
            rows = sent_to(recipient, sender)
            return rows if [row["status"] for row in rows] == [status] else None
        return wait_for(found, "%r from %s to %s: %r" % (
            status, sender, recipient, sent_to(recipient, sender)))[0]

    def test_mail_shows(self):
        before = page("overview_load")["statistic"]
        send("first@elsewhere.test", [BOB], "incoming")
        row = self.row_of(BOB, "first@elsewhere.test", "Received")
        now = run("date", "+%Y-%m-%d %H").split()
        self.assertEqual((row["mail_to"], row["mail_from"]), (BOB, "first@elsewhere.test"))
        self.assertEqual((row["date"], row["time"][:2]), tuple(now))
        self.assertRegex(row["size"], r"^0\.\dKB$")
        sent_id = delivered("bob", "incoming").partition("Message-ID: <")[2].partition(">")[0]
        self.assertIn(sent_id, row["message_id"])

        send("second@elsewhere.test", [BOB, ALICE], "to two")
        self.row_of(BOB, "second@elsewhere.test", "Received")
        self.row_of(ALICE, "second@elsewhere.test", "Received")
        after = page("overview_load")["statistic"]
        self.assertEqual(period(after, "inbound") - period(before, "inbound"), 3)

    def test_search_export_and_the_other_language(self):
        send("needle@elsewhere.test", [BOB], "to be found")
        self.row_of(BOB, "needle@elsewhere.test", "Received")
        found = page("search_log", query="EEDLE@else", limit=50)
        self.assertEqual([row["mail_from"] for row in found["items"]], ["needle@elsewhere.test"])
        self.assertEqual(found["total"], 1)
        german = page("search_log", query="needle", limit=50, lang="de")["items"][0]
        self.assertEqual(german["status"], "Empfangen")
        table = read("export_log")
        self.assertIn("haldmaillog.html", table.headers["Content-Disposition"])
        text = table.body.decode()
        self.assertIn('<td align="center">needle@elsewhere.test</td>', text)
        self.assertEqual(text.count("<tr>"), 1 + log()["total"])
        with open(TEXT_LOG, "rb") as file:
            self.assertTrue(read("export_postfix_log").body.startswith(file.read(1000)))

    def test_a_cleared_log_stays_empty_and_goes_on(self):
        send("gone@elsewhere.test", [BOB], "to be forgotten")
        self.row_of(BOB, "gone@elsewhere.test", "Received")
        self.assertEqual(post({"action": "clear_log"}).json(), {"success": True})
        self.assertEqual(log(), {"items": [], "success": True, "total": 0})
        self.assertEqual(page("search_log", query="gone@", limit=9)["total"], 0)
        counts = page("overview_load")["statistic"]
        self.assertEqual(sum(sum(entry.values()) for entry in counts), 0)
        send("fresh@elsewhere.test", [BOB], "after the clearing")
        self.row_of(BOB, "fresh@elsewhere.test", "Received")
        self.assertEqual(log()["total"], 1)
