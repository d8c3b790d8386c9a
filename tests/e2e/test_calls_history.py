"""Earlier states of the settings, and how a change goes on, over HTTP."""
import json
import os
import subprocess
import threading
import time

import harness
from harness import ETC, ask, settings
from machine import write

PROGRESS = "/run/mailvane/progress"
SAVE = json.dumps({"action": "save_smtp", "smtp_hostname": "walked.example.test"})


def kept():
    return ask("generations")["items"]


class Generations(harness.Story):
    def test_who_made_them_when_and_by_what(self):
        begun = int(time.time())
        self.assert_saved(smtp_hostname="told.example.test")
        self.change("add_domain", domain="told.example.test")
        *_, save, domain = kept()
        self.assertEqual([(one["who"], one["action"], one["settings"], one["in_force"])
                          for one in (save, domain)],
                         [("admin", "save_smtp", ["smtp_hostname"], False),
                          ("admin", "add_domain", ["domains"], True)])
        self.assertEqual((save["different"], domain["different"]), (["domains"], []))
        self.assertLessEqual(begun, save["date"])
        self.assertLessEqual(save["date"], domain["date"])
        harness.run(harness.TARGET + "/bin/hald_set_config", "apply")
        self.assertEqual(kept()[-1]["number"], domain["number"])  # nothing had to be made
        os.unlink(ETC + "/generated/current/manifest")
        self.assertNotIn(domain["number"], [one["number"] for one in kept()])
        harness.run(harness.TARGET + "/bin/mailvanectl", "repair", "--yes")
        self.assertEqual((kept()[-1]["who"], kept()[-1]["action"]), ("root", "repair"))

    def test_one_of_an_earlier_version_is_kept_too(self):
        manifest = ETC + "/generated/current/manifest"
        with open(manifest, encoding="ascii") as file:
            lines = [line for line in file if len(line.split()[0]) == 16]
        write(manifest, "files %d\n%s" % (len(lines), "".join(lines)))
        last = kept()[-1]
        self.assertEqual((last["who"], last["action"], last["in_force"]), ("", "", True))
        self.assertEqual(last["date"], int(os.stat(manifest).st_mtime))
        self.assert_saved(smtp_hostname="later.example.test")
        self.assertEqual(kept()[-2]["number"], last["number"])


class RollBack(harness.Story):
    def test_to_a_state_and_to_none(self):
        before = settings()
        self.assert_saved(smtp_hostname="rolled.example.test")
        state = next(one for one in reversed(kept()) if one["different"])
        log = harness.SystemLog()
        self.assertEqual(ask("rollback", {"number": state["number"]}),
                         {"success": True, "number": state["number"],
                          "settings": ["smtp_hostname"], "until": 0})
        self.assertEqual(settings(), before)
        self.assertEqual(kept()[-1]["action"], "rollback")
        self.assertIn('user "admin", address 127.0.0.1, action rollback: done; '
                      "to change: smtp_hostname", "\n".join(log.audit()))
        state = harness.snapshot(ETC)
        for number in (0, 10**6, 2**70, -1, "1", "../../..", None, [1], True):
            self.assertIs(ask("rollback", {"number": number})["success"], False)
        self.assertEqual(harness.snapshot(ETC), state)


class Progress(harness.Story):
    NOTHING = {"success": True, "running": False, "step": 0, "of": 0, "name": "", "since": 0}

    def test_of_a_save_step_by_step(self):
        self.assertEqual(ask("progress"), self.NOTHING)
        save = threading.Thread(target=self.assert_saved,
                                kwargs={"smtp_hostname": "watched.example.test"})
        begun, seen = int(time.time()), []
        save.start()
        while save.is_alive():
            told = ask("progress")
            if told["running"] and told not in seen:
                seen.append(told)
        save.join()
        self.assertEqual(ask("progress"), self.NOTHING)
        self.assertFalse(os.path.exists(PROGRESS))
        numbers = [one["step"] for one in seen]
        self.assertEqual(numbers, sorted(set(numbers)))
        self.assertIn(" service restart", seen[-1]["name"])
        self.assertEqual(seen[-1]["step"], seen[-1]["of"])
        self.assertTrue(all(begun <= one["since"] <= time.time() for one in seen))

    def test_what_a_killed_save_has_left_does_not_count(self):
        environment = {"REMOTE_USER": "admin", "REQUEST_METHOD": "POST", "HTTP_X_MAILVANE": "1",
                       "CONTENT_TYPE": "application/json", "CONTENT_LENGTH": str(len(SAVE))}
        with subprocess.Popen([harness.PROGRAM], env=environment, stdin=subprocess.PIPE,
                              stdout=subprocess.DEVNULL) as save:
            save.stdin.write(SAVE.encode())
            save.stdin.close()
            harness.wait_for(lambda: ask("progress")["running"], "the first step")
            save.kill()
        self.assertTrue(os.path.exists(PROGRESS))
        harness.wait_for(lambda: not ask("progress")["running"], "the lock")
        self.assert_saved()
        self.assertFalse(os.path.exists(PROGRESS))
