"""The calls about mail that waits and mail that is kept aside: what they do to real mail, and what
they make of mail that means no good."""
import gzip
import json
import os
import smtplib
import subprocess

import contract
import harness
from harness import DOMAIN, POSTFIX_CONFIGURATION, TARGET, SystemLog, control, delivered, run, send, \
    tell, wait_for
from test_scanner import message

PROGRAM = TARGET + "/ui/upkeep.cgi"
QUARANTINE = "/var/lib/mailvane/quarantine"
BOB, CAROL = "bob@" + DOMAIN, "carol@" + DOMAIN
STRANGER = "someone@elsewhere.test"


class Told:
    """What the program answers, as the tests of a web server see it."""

    def __init__(self, output):
        head, _, self.body = output.partition(b"\n\n")
        lines = [line.split(": ", 1) for line in head.decode().splitlines()]
        self.headers = dict(lines)
        self.status = int(self.headers.pop("Status", "200").split()[0])

    def json(self):
        return json.loads(self.body)

    def __repr__(self):
        return "%d %r" % (self.status, self.body[:300])


CONTRACT = contract.Contract("upkeep")


def answered(path, body=None):
    """Runs the program as the web server does."""
    head = {} if body is None else {"Content-Type": "application/json"}
    data = b"" if body is None else json.dumps(body).encode()
    environment = {"REQUEST_METHOD": "GET" if body is None else "POST", "REMOTE_USER": "admin",
                   "QUERY_STRING": path.partition("?")[2], "HTTP_HOST": "localhost"}
    if body is not None:
        environment.update(CONTENT_TYPE="application/json", CONTENT_LENGTH=str(len(data)))
    output = subprocess.run([PROGRAM], env=environment, input=data, capture_output=True,
                            check=False, timeout=harness.PATIENCE).stdout
    answer = Told(output)
    CONTRACT.check((path, head, data), answer)
    return answer


def ask(call, **members):
    """JSON answer of a call that tells something."""
    query = "".join("&%s=%s" % (name, value) for name, value in members.items())
    return answered("/upkeep.cgi?call=" + call + query).json()


def do(call, **members):
    """JSON answer of a call that does something."""
    return answered("/upkeep.cgi", {"call": call, **members}).json()


class Calls(harness.Story):
    def assert_refused(self, told, setting, code):
        self.assertIs(told.json()["success"], False)
        self.assertEqual(json.loads(told.headers["X-Mailvane-Reason"]),
                         [{"setting": setting, "code": code}])

    def refuses(self, call, setting, code, **members):
        with self.subTest(call, members=str(members)[:60]):
            self.assert_refused(answered("/upkeep.cgi", {"call": call, **members}), setting, code)


class Queue(Calls):
    def setUp(self):
        super().setUp()
        control("dovecot", "stop")
        self.addCleanup(control, "dovecot", "start")
        self.addCleanup(do, "queue_delete", all=True, confirm=True)

    def waiting(self, subject, recipients=(BOB,)):
        """The id of a message that waits, with a reason for each recipient."""
        before = {one["id"] for one in ask("queue_list")["messages"]}
        send(STRANGER, list(recipients), subject)

        def tried():
            return [one["id"] for one in ask("queue_list")["messages"]
                    if one["id"] not in before and one["queue"] == "deferred" and
                    all(recipient["reason"] for recipient in one["recipients"])]

        return wait_for(tried, "a reason")[0]

    def test_what_waits_is_told_with_its_reasons(self):
        one = self.waiting("for two =?utf-8?q?\N{SNOWMAN}?=\x1b[2J", [BOB, CAROL])
        two = self.waiting("for one =?utf-8?q?=E2=98=83?=")
        listed = ask("queue_list")
        self.assertEqual((listed["total"], [mail["id"] for mail in listed["messages"]]),
                         (2, [one, two]))
        first = listed["messages"][0]
        self.assertEqual((first["sender"], first["recipient_count"]), (STRANGER, 2))
        for recipient in first["recipients"]:
            self.assertRegex(recipient["reason"], "dovecot-lmtp")
        shown = run("/usr/sbin/postqueue", "-c", POSTFIX_CONFIGURATION, "-j")
        known = {mail["queue_id"]: mail for mail in map(json.loads, shown.splitlines())}
        self.assertEqual({mail["id"]: (mail["size"], mail["arrival"])
                          for mail in listed["messages"]},
                         {name: (mail["message_size"], mail["arrival_time"])
                          for name, mail in known.items()})

        for query, wanted in (({"query": "CAROL@"}, [one]), ({"descending": "true"}, [two, one]),
                              ({"start": 1}, [two]), ({"limit": 0}, []),
                              ({"sort": "size", "descending": "true"}, [one, two])):
            with self.subTest(query):
                self.assertEqual([mail["id"] for mail in ask("queue_list", **query)["messages"]],
                                 wanted)
        header = ask("queue_message", id=two)["headers"]
        self.assertIn({"name": "Subject", "value": "for one \N{SNOWMAN}"}, header)
        for name in ("", "../" + one, one + "0"):
            self.assert_refused(answered("/upkeep.cgi?call=queue_message&id=" + name),
                                "id", "missing")

    def test_held_released_and_deleted(self):
        log = SystemLog()
        one, two, three = [self.waiting(name) for name in ("let go", "deleted", "vanishes")]
        self.assertEqual(do("queue_hold", ids=[one, two, three, one]),
                         {"success": True, "done": 3, "gone": []})
        self.assertEqual({mail["queue"] for mail in ask("queue_list")["messages"]}, {"hold"})
        self.assertEqual(do("queue_hold", ids=[one])["done"], 1)  # as it is wanted already

        # One that goes between the list and the request is told, and the others are done.
        run("/usr/sbin/postsuper", "-c", POSTFIX_CONFIGURATION, "-d", three)
        self.assertEqual(do("queue_delete", ids=[two, three]),
                         {"success": True, "done": 1, "gone": [three]})
        control("dovecot", "start")
        self.assertEqual(do("queue_flush", ids=[one])["done"], 1)
        self.assertEqual(ask("queue_list")["messages"][0]["queue"], "hold")
        self.assertEqual(do("queue_release", ids=[one, two]),
                         {"success": True, "done": 1, "gone": [two]})
        delivered("bob", "let go")
        self.assertIn("action queue_delete: done; to change: %s, %s" % tuple(sorted([two, three])),
                      "\n".join(log.audit()))

        control("dovecot", "stop")
        self.waiting("all of them")
        self.waiting("and this")
        for call in ("queue_hold", "queue_release", "queue_delete"):
            self.assertEqual(do(call, all=True, confirm=True)["done"], 2, call)
        self.assertEqual(ask("queue_list")["total"], 0)

    def test_what_is_refused_changes_nothing(self):
        one = self.waiting("stays")
        for call in ("queue_flush", "queue_hold", "queue_release", "queue_delete"):
            self.refuses(call, "ids", "empty")
            self.refuses(call, "ids", "empty", ids=one)
            self.refuses(call, "confirm", "missing", all=True, ids=[one])
            self.refuses(call, "ids", "too_many", ids=["AB%d" % i for i in range(1001)])
            for name in ("ALL", "-", "-d", "../" + one, one + "\n" + one, "", "\N{SNOWMAN}"):
                if name != "ALL":
                    self.refuses(call, "ids", "no_name", ids=[one, name])
        # What stands for everything on a command line is one id like another here.
        self.assertEqual(do("queue_delete", ids=["ALL"]),
                         {"success": True, "done": 0, "gone": ["ALL"]})
        self.assertEqual([mail["queue"] for mail in ask("queue_list")["messages"]], ["deferred"])


def kept_file(name, data):
    path = "%s/%s" % (QUARANTINE, name)
    with open(path, "wb") as file:
        file.write(data)
    return name


class Quarantine(Calls):
    def setUp(self):
        super().setUp()
        tell("save_spam_config", spam_enable=True, spam_action="quarantine", spam_reject_score=12)
        self.addCleanup(tell, "save_spam_config", spam_enable=False)
        self.addCleanup(lambda: [os.unlink(QUARANTINE + "/" + name)
                                 for name in os.listdir(QUARANTINE)])

    def kept(self, subject):
        with smtplib.SMTP("127.0.0.1", 25, "client.test", harness.PATIENCE) as client:
            client.send_message(message("spam", subject), STRANGER, [BOB])
        return wait_for(lambda: ask("quarantine_list")["messages"], "the quarantine")[0]

    def test_kept_mail_is_shown_released_learned_and_deleted(self):
        log = SystemLog()
        subject = "<b>\N{RIGHT-TO-LEFT OVERRIDE}aside</b> \N{SNOWMAN}"
        kept = self.kept(subject)
        self.assertEqual((kept["subject"], kept["sender"], kept["recipients"]),
                         (subject.replace("\N{RIGHT-TO-LEFT OVERRIDE}", "\ufffd"), STRANGER, [BOB]))
        self.assertGreater(float(kept["score"]), 12)
        name = kept["id"]
        self.assertEqual([ask("quarantine_list", query=text)["total"]
                          for text in ("ASIDE", STRANGER, "nothing")], [1, 1, 0])
        text = ask("quarantine_text", id=name)
        self.assertIn("XJS*C4JDBQADN1", text["text"])
        raw = answered("/upkeep.cgi?call=quarantine_raw&id=" + name)
        self.assertEqual((raw.headers["Content-Type"], raw.headers["X-Content-Type-Options"]),
                         ("application/octet-stream", "nosniff"))
        with gzip.open(QUARANTINE + "/" + name) as file:
            self.assertEqual(raw.body, file.read())
        done = {"success": True, "done": 1, "gone": ["none.gz"], "failed": []}
        self.assertEqual(do("quarantine_learn", ids=[name, "none.gz"], **{"as": "spam"}), done)
        learned = run(TARGET + "/bin/mailvanectl", "spam", "status", "--json")
        self.assertEqual(json.loads(learned)["spam"], 1)
        self.assertEqual(do("quarantine_release", ids=[name, "none.gz"]), done)
        delivered("bob", "aside")
        self.assertEqual(do("quarantine_delete", ids=[name, "none.gz"]), done)
        self.assertEqual(ask("quarantine_list")["total"], 0)
        audit = "\n".join(log.audit())
        for call in ("text", "raw", "learn", "release", "delete"):
            self.assertRegex(audit, "action quarantine_%s: done; to change: .*%s" % (call, name))

    def test_mail_that_means_no_good(self):
        nested = b"".join(b"Content-Type: multipart/mixed; boundary=b%d\r\n\r\n--b%d\r\n" % (i, i)
                          for i in range(5000))
        parts = b"".join(b"--b\r\nContent-Type: image/png; name=%d\r\n\r\nx\r\n" % i
                         for i in range(10000))
        files = {
            "nested": b"Subject: nested\r\n" + nested + b"\r\ndeep\r\n",
            "parts": b"Subject: parts\r\nContent-Type: multipart/mixed; boundary=b\r\n\r\n" + parts,
            "bomb.gz": gzip.compress(b"Subject: bomb\r\n\r\n" + b"x\n" * (100 << 20)),
            "cut.gz": gzip.compress(b"Subject: cut\r\n\r\n" + os.urandom(9000))[:5000],
            "bytes": os.urandom(5000),
        }
        for name, data in files.items():
            kept_file(name, data)
        os.symlink("/etc/shadow", QUARANTINE + "/link")
        os.mkfifo(QUARANTINE + "/fifo")
        listed = ask("quarantine_list")
        self.assertEqual((listed["total"], {mail["id"] for mail in listed["messages"]}),
                         (5, set(files)))
        for name in files:
            with self.subTest(name):
                text = ask("quarantine_text", id=name)
                self.assertIs(text["cut"], name != "bytes")
                self.assertLess(len(json.dumps(text, ensure_ascii=False).encode()), 256 << 10)
        self.assertEqual(ask("quarantine_text", id="parts")["part_count"], 10000)
        for name in ("link", "fifo", "..", "../../../../etc/shadow", "%2e", "-x", ""):
            for call in ("quarantine_text", "quarantine_raw"):
                self.assert_refused(answered("/upkeep.cgi?call=%s&id=%s" % (call, name)),
                                    "id", "missing")
        gone = ["fifo", "link", "none"]
        for call, more in (("release", {}), ("delete", {}), ("learn", {"as": "ham"})):
            self.assertEqual(do("quarantine_" + call, ids=gone, **more)["gone"], gone)
            self.refuses("quarantine_" + call, "ids", "no_name", ids=["../x"], **more)
            self.refuses("quarantine_" + call, "ids", "empty", all=True, confirm=True, **more)
        self.refuses("quarantine_learn", "as", "no_choice", ids=["bytes"])
        self.assertEqual(do("quarantine_learn", ids=["bomb.gz", "cut.gz"], **{"as": "spam"}),
                         {"success": True, "done": 0, "gone": [], "failed": ["bomb.gz", "cut.gz"]})
        self.assertTrue(os.path.islink(QUARANTINE + "/link"))
