"""A save happens as a whole or not at all, whatever comes between."""
import concurrent.futures
import contextlib
import fcntl
import json
import os
import random
import signal
import subprocess
import time
import unittest

import harness
from harness import DOMAIN, ETC, PAGE, TARGET, banner, delivered, load, save, send, settings
from machine import contents, fragment, in_place_of, write

CURRENT = ETC + "/generated/current"
PENDING = ETC + "/generated/pending"


@contextlib.contextmanager
def failing(service):
    """While it lasts, the next verb of a control script fails."""
    script = "%s/scripts/%s.sh" % (TARGET, service)
    mark = "/run/fail-" + service
    write(mark, "")
    with in_place_of(script, 'if [ -e %s ]; then rm %s; exit 1; fi\nexec %s.real "$@"\n'
                     % (mark, mark, script)):
        yield
    if os.path.exists(mark):
        raise AssertionError(script + " was not run")


class Fragments(harness.Story):
    def test_they_are_kept(self):
        with fragment("main.cf", "smtpd_banner = $myhostname at your service\n"):
            self.assert_saved(smtp_hostname="mine.example.test")
            self.assertEqual(banner(), "220 mine.example.test at your service")
        self.assert_saved(smtp_hostname="mv.test")
        self.assertIn("ESMTP", banner())


class FailingSteps(harness.Story):
    """A step that fails takes the save back: the old configuration runs."""

    def test_a_restart_that_fails(self):
        before = settings()
        with failing("postfix"):
            answer = save(smtp_hostname="failing.example.test", smtp_port=2525)
        self.assert_system_error(answer)
        self.assertEqual(settings(), before)
        self.assertTrue(banner().startswith("220 mv.test "), banner())
        self.assertFalse(harness.answers(2525) or os.path.exists(PENDING))
        self.assert_mail_flows("after a failed restart")


class Killed(harness.Story):
    """kill -9 at any moment leaves the old or the new configuration."""

    ROUNDS = 24

    def start_save(self, name):
        page = load()
        body = {key: page[key] for key in PAGE}
        body.update(action="save_smtp", smtp_hostname=name)
        data = json.dumps(body).encode()
        environment = {"REQUEST_METHOD": "POST", "REMOTE_USER": "admin",
                       "CONTENT_TYPE": "application/json", "CONTENT_LENGTH": str(len(data))}
        process = subprocess.Popen([harness.PROGRAM], env=environment, stdin=subprocess.PIPE,
                                   stdout=subprocess.DEVNULL, start_new_session=True)
        process.stdin.write(data)
        process.stdin.close()
        return process

    def test_at_any_moment(self):
        start = time.monotonic()
        self.assert_saved(smtp_hostname="whole.example.test")
        duration = time.monotonic() - start
        chance = random.Random(25)
        old = "whole.example.test"
        for number in range(self.ROUNDS):
            new = "round%d.example.test" % number
            process = self.start_save(new)
            time.sleep(chance.uniform(0, duration))
            # Alone, or with every program that it has started, as when the machine goes down.
            self.kill(process, with_children=chance.random() < 0.5)
            old = self.assert_whole(old, new)
        self.assert_mail_flows("after all kills")

    def test_after_the_commit(self):
        before = os.readlink(CURRENT)
        process = self.start_save("committed.example.test")
        harness.wait_for(lambda: os.readlink(CURRENT) != before, "the commit")
        self.kill(process, with_children=True)
        self.assertEqual(self.assert_whole("mv.test", "committed.example.test"),
                         "committed.example.test")

    def kill(self, process, with_children):
        if with_children:
            with contextlib.suppress(ProcessLookupError):
                os.killpg(process.pid, signal.SIGKILL)
        process.kill()
        process.wait()

    def assert_whole(self, old, new):
        """One of two host names is in force everywhere, before and after a boot. Returns it."""
        stored = settings()["smtp_hostname"]
        self.assertIn(stored, (old, new))
        self.assertEqual(harness.postconf("myhostname"), stored)
        self.assertEqual(load()["smtp_hostname"], stored)

        harness.run(TARGET + "/bin/hald_set_config", "recover")
        self.assertEqual(settings()["smtp_hostname"], stored)
        self.assertTrue(banner().startswith("220 %s " % stored), (banner(), stored))
        self.assertFalse(os.path.exists(PENDING))
        return stored

    def test_the_next_save_finishes_what_was_left(self):
        process = self.start_save("killed.example.test")
        harness.wait_for(lambda: os.path.exists(PENDING), "the mark")
        self.kill(process, with_children=True)
        self.assert_saved(smtp_hostname="next.example.test")
        self.assertFalse(os.path.exists(PENDING))
        self.assertTrue(banner().startswith("220 next.example.test "))
        kept = [name for name in os.listdir(ETC + "/generated") if name.startswith("gen-")]
        self.assertIn(os.readlink(CURRENT), kept)
        self.assertLessEqual(len(kept), 5)


class Parallel(harness.Story):
    def test_saves_and_loads_at_once(self):
        names = ["parallel%d.example.test" % number for number in range(8)]
        page = load()
        body = {name: page[name] for name in PAGE}

        def one_save(name):
            answer = harness.post({"action": "save_smtp", **body, "smtp_hostname": name})
            return time.monotonic(), name, answer

        with concurrent.futures.ThreadPoolExecutor(40) as pool:
            saves = [pool.submit(one_save, name) for name in names]
            loads = [pool.submit(load) for _ in range(32)]
            for done in loads:
                self.assertIn(done.result()["smtp_hostname"], names + ["mv.test"])
            results = sorted(done.result() for done in saves)

        saved = [name for _, name, answer in results
                 if answer.status == 200 and answer.json()["success"]]
        self.assertTrue(all(answer.status in (200, 503) for _, _, answer in results), results)
        self.assertGreaterEqual(len(saved), 5, "one at work and four waiting are served")
        self.assertEqual(load()["smtp_hostname"], saved[-1])
        self.assertTrue(banner().startswith("220 %s " % saved[-1]))

    def test_a_waiting_save_does_not_slow_loads_down(self):
        with open(ETC + "/lock", "r+b") as file, \
                concurrent.futures.ThreadPoolExecutor(9) as pool:
            fcntl.lockf(file, fcntl.LOCK_EX, 1, 0)
            waiting = pool.submit(save, smtp_hostname="patient.example.test")
            time.sleep(0.3)
            start = time.monotonic()
            for done in [pool.submit(load) for _ in range(32)]:
                self.assertEqual(done.result()["smtp_hostname"], "mv.test")
            self.assertLess(time.monotonic() - start, 3)
            self.assertFalse(waiting.done())
            fcntl.lockf(file, fcntl.LOCK_UN, 1, 0)
            self.assertIs(waiting.result()["success"], True)


class AccountChange(harness.Story):
    """Each combination of account type and domain has data of its own."""

    def mark(self, database, value=None):
        """Reads, or first sets, a mark in a database."""
        sql = "CREATE TABLE IF NOT EXISTS mark(v); "
        if value is not None:
            sql += "DELETE FROM mark; INSERT INTO mark VALUES('%s'); " % value
        sql += "SELECT v FROM mark;"
        return harness.run("/usr/bin/sqlite3", "%s/%s.db" % (ETC, database), sql).strip()

    def marks(self):
        return [self.mark(database) for database in ("alias", "mailvane")]

    def set_always_bcc(self, address):
        path = os.path.realpath(ETC + "/mailvane.conf")
        lines = [line for line in contents(path).splitlines(True)
                 if not line.startswith("always_bcc=")]
        write(path, "".join(lines) + 'always_bcc="%s"\n' % address)
        harness.run(TARGET + "/bin/hald_set_config", "render")
        self.assertEqual(harness.control("postfix", "restart"), 0)

    def test_there_and_back(self):
        load()
        self.mark("alias", "first"), self.mark("mailvane", "first")
        self.set_always_bcc("carol@" + DOMAIN)
        self.addCleanup(self.set_always_bcc, "")
        send("x@elsewhere.test", ["bob@" + DOMAIN], "copied")
        delivered("carol", "copied")

        self.assert_saved(acc_domain_name="second.example.test")
        load()
        self.assertEqual(self.marks(), ["", ""])
        self.assertEqual(settings().get("always_bcc", ""), "")
        self.mark("alias", "second"), self.mark("mailvane", "second")
        send("x@elsewhere.test", ["bob@second.example.test"], "not copied")
        delivered("bob", "not copied")

        self.assert_saved(acc_domain_name=DOMAIN)
        load()
        self.assertEqual(self.marks(), ["first", "first"])
        self.assertEqual(settings()["always_bcc"], "carol@" + DOMAIN)
        send("x@elsewhere.test", ["bob@" + DOMAIN], "copied again")
        delivered("carol", "copied again")
        self.assertFalse(harness.mails("carol", "not copied"))

        self.assert_saved(acc_domain_name="second.example.test")
        load()
        self.assertEqual(self.marks(), ["second", "second"])

    def test_a_change_that_is_refused(self):
        load()
        self.mark("alias", "kept"), self.mark("mailvane", "kept")
        with fragment("own.dovecot.conf", "no_such_setting = 1\n"):
            self.assert_system_error(save(acc_domain_name="refused.example.test"))
        load()
        self.assertEqual(self.marks(), ["kept", "kept"])
        self.assert_mail_flows("after refused changes")

    def test_a_change_that_fails_and_is_tried_again(self):
        load()
        self.mark("alias", "kept"), self.mark("mailvane", "kept")
        for service in ("mailscanner", "dovecot", "postfix"):
            with self.subTest(service):
                with failing(service):
                    self.assert_system_error(save(acc_domain_name="third.example.test"))
                load()
                self.assertEqual(self.marks(), ["kept", "kept"])
                self.assert_saved(acc_domain_name="third.example.test")
                self.assert_saved(acc_domain_name=DOMAIN)
                load()
                self.assertEqual(self.marks(), ["kept", "kept"])


if __name__ == "__main__":
    unittest.main()
