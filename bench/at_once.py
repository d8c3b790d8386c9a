"""Reads, saves and messages at once: what fails, and how long each takes. See run-at-once."""
import collections
import concurrent.futures
import smtplib
import time
import unittest

import harness
from harness import DOMAIN
from measuring import tell

READS, SAVES, MESSAGES, CLIENTS = 200, 20, 500, 20
LOADS = ("load_smtp", "alias_enum&limit=50", "load_access", "load_log")


class Counts:
    """How often something ended in which way, and how long it took."""

    def __init__(self):
        self.ends, self.times = collections.Counter(), []

    def timed(self, action):
        start = time.monotonic()
        try:
            end = action()
        except (OSError, smtplib.SMTPException, AssertionError) as error:
            end = "%s: %s" % (type(error).__name__, error)
        self.times.append(time.monotonic() - start)
        self.ends[end] += 1

    def tell(self, name, good):
        """The ends that are not good are failures."""
        for end, times in self.ends.items():
            if end not in good:
                print("%s, %d times: %s" % (name, times, end), flush=True)
        times, count = sorted(self.times), len(self.times)
        tell("at once", name + ", median", times[count // 2], "s", count)
        tell("at once", name + ", 95 % within", times[count * 95 // 100], "s", count)
        tell("at once", name + " failed", count - sum(self.ends[end] for end in good), "", count)


def one_read(number):
    answer = harness.read(LOADS[number % len(LOADS)])
    return "done" if answer.status == 200 and answer.json()["success"] else str(answer)


def one_save(number):
    answer = harness.post({"action": "apply_alias_info", "aliasname": "save%d" % number,
                           "member": [{"name": "bob", "type": 0, "is_join": True}]})
    if answer.status == 503:
        return "503"
    return "done" if answer.json()["success"] else str(answer)


def one_message(number):
    harness.send("x%d@elsewhere.test" % number, ["bob@" + DOMAIN], "at once %d." % number)
    return "done"


class AtOnce(unittest.TestCase):
    def test_nothing_fails_but_by_the_documented_503(self):
        kinds = (("reads", READS, one_read, READS), ("saves", SAVES, one_save, SAVES),
                 ("messages", MESSAGES, one_message, CLIENTS))
        counts = {name: Counts() for name, *_ in kinds}
        pools = []
        for name, number, action, workers in kinds:
            pool = concurrent.futures.ThreadPoolExecutor(workers)
            pools.append(pool)
            for one in range(number):
                pool.submit(counts[name].timed, lambda one=one, action=action: action(one))
        for pool in pools:
            pool.shutdown()
        for name, *_ in kinds:
            counts[name].tell(name, {"done", "503"} if name == "saves" else {"done"})
        saved = counts["saves"].ends
        self.assertEqual(counts["reads"].ends, {"done": READS})
        self.assertEqual(saved["done"] + saved["503"], SAVES)
        self.assertEqual(counts["messages"].ends, {"done": MESSAGES})
        aliases = harness.read("alias_enum&limit=100").json()["total"]
        self.assertEqual(aliases, saved["done"])
        harness.wait_for(lambda: len(harness.mails("bob", "at once")) == MESSAGES, "all messages")
