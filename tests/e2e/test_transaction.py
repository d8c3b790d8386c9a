"""A save happens as a whole or not at all, whatever comes between."""
import concurrent.futures
import contextlib
import json
import os
import random
import signal
import subprocess
import time

import harness
from harness import DOMAIN, ETC, PAGE, TARGET, banner, delivered, load, read, save, send, settings
from machine import in_place_of, write

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


class AccountChange(harness.Story):
    """Each combination of account type and domain has data of its own."""

    def make(self, name):
        """An entry in each of the two databases."""
        self.change("apply_alias_info", aliasname=name,
                    member=[{"name": "bob", "type": 0, "is_join": True}])
        self.change("add_access", accessType=0, nameType=0, name=name + "@far.test",
                    permission="REJECT")

    def entries(self):
        return [read(page).json()["items"] for page in ("alias_enum&limit=50", "load_access")]

    def test_there_and_back(self):
        self.make("first")
        self.change("add_bcc", bccType=2, bccTo="carol@" + DOMAIN)
        first = self.entries()

        self.assert_saved(acc_domain_name="second.example.test")
        self.assertEqual(self.entries(), [[], []])
        self.assertEqual(settings().get("always_bcc", ""), "")
        self.make("second")
        second = self.entries()
        send("x@elsewhere.test", ["bob@second.example.test"], "not copied")
        delivered("bob", "not copied")

        self.assert_saved(acc_domain_name=DOMAIN)
        self.assertEqual(self.entries(), first)
        send("x@elsewhere.test", ["bob@" + DOMAIN], "copied again")
        delivered("carol", "copied again")
        self.assertFalse(harness.mails("carol", "not copied"))
        self.assert_saved(acc_domain_name="second.example.test")
        self.assertEqual(self.entries(), second)

    def test_a_change_that_fails_and_is_tried_again(self):
        self.make("kept")
        before = self.entries()
        with failing("dovecot"):
            self.assert_system_error(save(acc_domain_name="third.example.test"))
        self.assertEqual(self.entries(), before)
        self.assert_saved(acc_domain_name="third.example.test")
        self.assert_saved(acc_domain_name=DOMAIN)
        self.assertEqual(self.entries(), before)
