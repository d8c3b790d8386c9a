"""A save happens as a whole or not at all, whatever comes between."""
import concurrent.futures
import contextlib
import os
import random
import signal
import smtplib
import threading
import time

import harness
from harness import ETC, PAGE, TARGET, banner, load, save, settings
from machine import failing

PENDING = ETC + "/generated/pending"


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

    def test_at_any_moment(self):
        start = time.monotonic()
        self.assert_saved(smtp_hostname="whole.example.test")
        duration = time.monotonic() - start
        chance = random.Random(25)
        old = "whole.example.test"
        for number in range(self.ROUNDS):
            new = "round%d.example.test" % number
            process = harness.start_save(smtp_hostname=new)
            time.sleep(chance.uniform(0, duration))
            # Alone, or with every program that it has started, as when the machine goes down.
            self.kill(process, with_children=chance.random() < 0.5)
            old = self.assert_whole(old, new)
        self.assert_mail_flows("after all kills")

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

    def test_the_save_of_another_page_finishes_what_was_left(self):
        process = harness.start_save(smtp_hostname="killed.example.test")
        harness.wait_for(lambda: os.path.exists(PENDING), "the mark")
        self.kill(process, with_children=True)
        self.change("save_imap_pop3", max_user_connections=21)
        self.assertFalse(os.path.exists(PENDING))
        self.assertTrue(banner().startswith("220 %s " % settings()["smtp_hostname"]))
        kept = [name for name in os.listdir(ETC + "/generated") if name.startswith("gen-")]
        self.assertIn(os.readlink(ETC + "/generated/current"), kept)
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


class Meanwhile(harness.Story):
    """Who sends mail notices nothing of a save."""

    def send_on(self, done, refused):
        while not done.is_set():
            try:
                harness.send("x@elsewhere.test", ["bob@" + harness.DOMAIN], "meanwhile")
            except (OSError, smtplib.SMTPException) as error:
                refused.append(repr(error))

    @contextlib.contextmanager
    def sender(self):
        done, refused = threading.Event(), []
        sender = threading.Thread(target=self.send_on, args=(done, refused))
        sender.start()
        try:
            yield
        finally:
            done.set()
            sender.join()
        self.assertEqual(refused, [])

    def test_no_mail_is_refused(self):
        self.addCleanup(self.change, "save_security", enable_spf_check=False)
        with self.sender():
            self.assert_saved(smtp_hostname="meanwhile.example.test", restrict_sender=True)
            self.change("save_imap_pop3", max_user_connections=22, plaintext_auth=True)
            self.change("save_advance_anti_spam", recipient_limit=901)
            self.change("save_security", enable_spf_check=True, spam_dnsbl_enable=False)

    def test_filters_come_and_go_and_change(self):
        for filters in ({"enable_dkim": True}, {"enable_dmarc": True},
                        {"enable_dangerous_content_scan": True}):
            with self.subTest(filters), self.sender():
                self.change("save_security", spam_dnsbl_enable=False, **filters)
                self.assert_saved(smtp_hostname="filtered.example.test")
                self.assert_saved(smtp_hostname="mv.test")
                self.change("save_security", **dict.fromkeys(filters, False))
