"""Faults at every step of a request: the old state or the new one is in force, never a mixture.

After each fault: the answer is honest, what the pages show is what is in force, the next save works,
and nothing is left behind. What is walked is chosen by the environment:

  MAILVANE_WALK    names of requests, or `all`; without it, a small sample
  MAILVANE_FAULTS  how many faults of each request, or `all`
  MAILVANE_SEED    which ones
"""
import collections
import contextlib
import glob
import os
import random
import re
import sqlite3
import time
import unittest

import call_sites
import harness
import nameserver
import walked
from harness import ETC

DNS = nameserver.NameServer()
SAMPLE = {"save_smtp": 1, "apply_alias_info": 2, "set_sender_quota": 1, "save_personal": 3,
          "import_alias": 1, "tls_install": 1, "own_password": 1, "user_remove": 2}
PENDING = ETC + "/generated/pending"
PLACES = (ETC, "/home", "/var/packages/Mailvane/target/etc")
# New files that were to replace others, generations that were not completed, uploads: those of a
# killed process are cleared after a day. Other unfinished work ends with the next save.
CLEARED_LATER = re.compile(r"/\.[^/]+\.[0-9a-f]{16}$|\.new$|^/tmp/|/gen-\d+$")
UNFINISHED = re.compile(CLEARED_LATER.pattern +
                        r"|/\.mailvane-[0-9a-f]{16}|\.kept$|\.part$|-journal$")


def setUpModule():
    nameserver.local_network("203.0.113.0/24")  # of the clients that name a recipient
    DNS.start()


tearDownModule = DNS.stop


def leftovers():
    """What unfinished work has left."""
    paths = (os.path.join(folder, name) for place in PLACES
             for folder, _, names in os.walk(place) for name in names)
    found = [path for path in paths if UNFINISHED.search(path)] + glob.glob("/tmp/*")
    found += [path for path in glob.glob(ETC + "/generated/gen-*")
              if not os.path.exists(path + "/manifest")]
    return sorted(found + [path for path in (PENDING, ETC + "/exchange", ETC + "/unconfirmed") if os.path.exists(path)])


def may_stay(site, fault):
    """Whether the fault is one after which nobody can clear up at once."""
    return fault == "SIGKILL" or site.call in ("unlink", "unlinkat", "rmdir")


def first_journal(faults):
    """The end of the process while its first journal is not on the disk: SQLite leaves that there."""
    return [(site, fault) for site, fault in faults
            if fault == "SIGKILL" and site.call == "pwrite64" and "-journal>" in site.text][:1]


class Walk:
    """All that is tried on one request."""

    def __init__(self, name, count, seed):
        self.name, self.request = name, walked.REQUESTS[name]
        self.count, self.chance = count, random.Random("%s %s" % (seed, name))
        self.wrong, self.sites, self.tried, self.number = [], 0, 0, 1
        self.foreign = set()

    def run(self):
        request = self.request
        self.foreign = set(leftovers())
        request.set_up()
        request.prepare(0)
        sites, done = call_sites.find(*request.call(0), user=request.user)
        if not self.request.succeeded(done) or not sites:
            raise AssertionError("%s: %r" % (self.name, done))
        self.sites = len(sites)
        self.expect("without a fault", request.outcome)
        request.undo(0)
        faults = [(site, fault) for site in sites for fault in site.faults()]
        if self.count != "all" and int(self.count) < len(faults):
            faults = self.chance.sample(faults, int(self.count)) + first_journal(faults)
        self.tried = len(faults)
        for site, fault in faults:
            self.try_one(site, fault)
            self.number += 1
        self.clear_up()

    def complain(self, about, what):
        self.wrong.append("%s: %s: %s" % (self.name, about, what))
        print(self.wrong[-1], flush=True)

    def expect(self, about, state, number=0):
        found = self.request.shown(number), self.request.in_force(number)
        if found != (state, state):
            self.complain(about, "shown %s, in force %s, wanted %s" % (*found, state))

    def try_one(self, site, fault):
        request, number = self.request, self.number
        about = "%s at %s" % (fault, site)
        begun = time.monotonic()
        try:
            request.prepare(number)
            before = leftovers()
            done = call_sites.run_with_fault(site, fault, *request.call(number))
            took = time.monotonic() - begun
            if fault == "SIGKILL" or not request.honest:
                request.finish()
                self.expect_nothing_left(before, site, fault)
            state = self.look(about, fault, done, number)
            request.undo(number)
            if not request.stays and (request.shown(number) or request.in_force(number)):
                self.complain(about, "the next save does not take it back")
            self.expect_nothing_left(before, site, fault)
            if os.environ.get("MAILVANE_WALK_TOLD"):
                print("%s %s %s %.1f+%.1f s" % (self.name, about, state, took,
                                               time.monotonic() - begun - took), flush=True)
        except (AssertionError, OSError, TypeError, KeyError, ValueError) as error:
            self.complain(about, "%s: %s" % (type(error).__name__, error))
            self.request.finish()

    def expect_nothing_left(self, before, site, fault):
        left = [path for path in leftovers() if path not in before and
                not (may_stay(site, fault) and CLEARED_LATER.search(path))]
        if left:
            self.complain("%s at %s" % (fault, site), "left behind: %s" % left)

    def look(self, about, fault, done, number):
        """Whether the new state is in force, as everything has to agree."""
        request = self.request
        shown, in_force = request.shown(number), request.in_force(number)
        if shown is not in_force or shown not in (True, False):
            self.complain(about, "shown %s, in force %s" % (shown, in_force))
        elif request.honest and fault != "SIGKILL" and request.succeeded(done) != shown:
            self.complain(about, "answered %r, in force %s" % (done.output[-90:], shown))
        return in_force

    def clear_up(self):
        """What killed processes left is cleared once it is a day old."""
        then = time.time() - 2 * 86400
        for path in leftovers():
            os.utime(path, (then, then), follow_symlinks=False)
        harness.run(harness.TARGET + "/scripts/clean_leftovers.sh")
        left = sorted(set(leftovers()) - self.foreign)
        if left:
            self.complain("in the end", "left behind: %s" % left)


class Faults(unittest.TestCase):
    def test_every_step(self):
        names = os.environ.get("MAILVANE_WALK", "")
        count = os.environ.get("MAILVANE_FAULTS", "all")
        seed = os.environ.get("MAILVANE_SEED", "1")
        chosen = {name: count for name in (walked.REQUESTS if names == "all" else names.split())}
        wrong, totals = [], collections.Counter()
        with call_sites.tools_can_be_traced():
            for name, number in (chosen or SAMPLE).items():
                walk = Walk(name, number, seed)
                with self.subTest(name):
                    walk.run()
                print("%s: %d calls, %d faults, %d wrong (seed %s)" %
                      (name, walk.sites, walk.tried, len(walk.wrong), seed), flush=True)
                wrong += walk.wrong
                totals.update(calls=walk.sites, faults=walk.tried)
        print("%d requests: %d calls, %d faults, %d wrong" %
              (len(chosen or SAMPLE), totals["calls"], totals["faults"], len(wrong)), flush=True)
        self.assertEqual(wrong, [])


class Memory(unittest.TestCase):
    LOADS = ("load_smtp", "load_security", "alias_enum&limit=50", "load_access", "load_bcc",
             "load_spam_rules", "load_personal&user=alice", "load_report", "load_log",
             "overview_load")

    def test_a_load_without_enough_memory_says_so_and_changes_nothing(self):
        walked.ask("load_log")
        before = harness.snapshot(ETC)
        for action in self.LOADS:
            call = walked.command(action)
            whole = walked.ask(action)
            self.assertIs(whole["success"], True, action)
            for mebibytes in range(4, 84, 8):
                limited = ["/usr/bin/prlimit", "--as=%d" % (mebibytes << 20), *call[0]]
                said = walked.answer(call_sites.run(limited, *call[1:]))
                self.assertTrue(not said or said == whole or said.get("success") is False,
                                (action, mebibytes, said))
        self.assertEqual(harness.snapshot(ETC), before)

    def forget_the_aliases(self):
        with contextlib.closing(sqlite3.connect(ETC + "/alias.db")) as store, store:
            store.executescript("DELETE FROM alias; DELETE FROM member")
        harness.run(walked.TOOL, "alias")

    def takes(self, aliases, mebibytes):
        """Whether an import is in force that had so much memory."""
        lines = "".join("many%d: bob\n" % n for n in range(aliases))
        program, environment, data = walked.request(upload=lines)
        call_sites.run(["/usr/bin/prlimit", "--as=%d" % (mebibytes << 20), *program],
                       environment, data)
        last = "many%d@%s" % (aliases - 1, harness.DOMAIN)
        return walked.say_recipient(last).startswith("250")

    def test_memory_does_not_grow_with_an_import_of_aliases(self):
        self.addCleanup(self.forget_the_aliases)
        walked.do(*walked.request(action="import_alias"))
        least = next(some for some in range(16, 512, 8) if self.takes(1, some))
        self.assertTrue(self.takes(200000, least + 40), least)
