"""The control scripts: a verb brings a service to what its stored settings ask for."""
import os
import shutil
import signal
import time
import unittest

import harness
from harness import ETC, TARGET, answers, control, listener, pid_of, run
from machine import contents, fragment, in_place_of, write

MASTERS = {"postfix": "/var/spool/postfix/pid/master.pid", "dovecot": "/run/dovecot/master.pid"}
PORTS = {"postfix": 25, "dovecot": 143}
LOGS = TARGET + "/etc/maillog.live"


def edit(path, change):
    """Replaces a generated file by its changed text, as old as Postfix likes it."""
    write(path + ".new", change(contents(path)))
    os.chmod(path + ".new", os.stat(path).st_mode)
    os.utime(path + ".new", (time.time() - 60,) * 2)
    os.rename(path + ".new", path)


class ControlScripts(harness.Story):
    def setUp(self):
        super().setUp()
        # Cleanups run in reverse: every file is what it was by then.
        self.addCleanup(lambda: [control(service, "restart") for service in MASTERS])

    def change(self, name, change):
        """Changes a file of the generation in force until the end of the test."""
        path = os.path.realpath("%s/generated/current/%s" % (ETC, name))
        before = contents(path)
        edit(path, change)
        self.addCleanup(edit, path, lambda _: before)

    def test_every_verb_can_be_repeated(self):
        for service, pid_file in MASTERS.items():
            with self.subTest(service):
                running = pid_of(pid_file)
                for verb in ("start", "restart", "restart"):
                    self.assertEqual(control(service, verb), 0)
                self.assertEqual(pid_of(pid_file), running, "a reload is enough")
                for _ in range(2):
                    self.assertEqual(control(service, "stop"), 0)
                    self.assertFalse(answers(PORTS[service]))
                self.assertEqual(control(service, "start"), 0)
                self.assertTrue(answers(PORTS[service]))

    @staticmethod
    def reloads():
        return contents("/var/log/mailvane/maillog").count(": reload -- version")

    def test_a_server_takes_up_what_has_changed_and_is_else_left_alone(self):
        self.assert_saved()  # the world has got accounts since it was made
        running, reloads = pid_of(MASTERS["postfix"]), self.reloads()
        self.assertEqual(control("postfix", "restart"), 0)
        self.assert_saved()
        self.assertEqual(self.reloads(), reloads)
        with fragment("main.cf", "smtpd_banner = $myhostname here\n"):
            self.assert_saved()
            self.assertIn(" here", harness.banner())
            self.assertEqual(pid_of(MASTERS["postfix"]), running, "a reload is enough")
            self.assertGreater(self.reloads(), reloads)
        with fragment("main.cf", "inet_interfaces = loopback-only\n"):
            self.assert_saved()
            self.assertNotEqual(pid_of(MASTERS["postfix"]), running, "that takes a start")
        self.assert_saved()

    def test_a_dead_master_is_replaced(self):
        for service, pid_file in MASTERS.items():
            with self.subTest(service):
                dead = pid_of(pid_file)
                os.kill(dead, signal.SIGKILL)
                self.assertEqual(control(service, "restart"), 0)
                self.assertTrue(answers(PORTS[service]))
                self.assertNotEqual(pid_of(pid_file), dead)
        self.assert_mail_flows("after dead masters")

    def test_a_faulty_configuration_is_refused_and_the_old_one_goes_on(self):
        for service, name, line in (("postfix", "postfix/main.cf", "no equals sign\n"),
                                    ("dovecot", "dovecot/dovecot.conf", "no_such = 1\n")):
            with self.subTest(service):
                running = pid_of(MASTERS[service])
                self.change(name, lambda text, line=line: text + line)
                self.assertNotEqual(control(service, "restart"), 0)
                self.assertEqual(pid_of(MASTERS[service]), running)
                self.assertTrue(answers(PORTS[service]))

    def test_a_port_in_other_hands_is_a_failure(self):
        with listener(2626):
            self.change("postfix/master.cf", lambda text: text.replace("25 inet", "2626 inet", 1))
            self.change("mailvane.conf", lambda text: text + 'smtp_port="2626"\n')
            self.assertNotEqual(control("postfix", "restart"), 0)

    def test_what_killed_processes_left_behind_is_cleared(self):
        suffix = ".0123456789abcdef"
        old, new = time.time() - 2 * 86400, time.time()
        cases = ((ETC + "/.mailvane.db" + suffix, old, False), (ETC + "/alias.db.new", old, False),
                 (ETC + "/.mailvane.db" + suffix[::-1], old, True),
                 (ETC + "/mailvane.db.new", new, True), (ETC + "/local.d/main.cf.new", old, True),
                 (ETC + "/tls/.key.pem" + suffix, old, True),
                 (LOGS + "/x.new", old, False), (LOGS + "/foreign/", new, True),
                 (LOGS + "/foreign/x.new", old, True),
                 (ETC + "/generated/gen-900000/", old, False),
                 (ETC + "/generated/gen-900001/", new, True), ("/tmp/BccFileabcdef", old, False),
                 ("/tmp/mailvane-lint.abcdef/", old, False), ("/tmp/something", old, True))
        for name, age, _ in cases:
            run("/bin/mkdir" if name.endswith("/") else "/bin/touch", name)
            if name.startswith(LOGS):  # where root does nothing: what is not the collector's stays
                shutil.chown(name, *2 * ["root" if "foreign" in name else "mailvane-log"])
            os.utime(name, (age, age))
            self.addCleanup(run, "/bin/rm", "-rf", name)
        before = os.path.realpath(ETC + "/generated/current")
        run(TARGET + "/scripts/clean_leftovers.sh", check=False)  # the foreign one is told
        for name, _, stays in cases:
            self.assertEqual(os.path.exists(name), stays, name)
        self.assertTrue(os.path.exists(before + "/manifest"))


class UnderSystemd(unittest.TestCase):
    """The world gets a systemctl that writes down what it is asked for, and starts and stops one
    unit."""

    UNIT = "mailvane-maillog.service"
    SCRIPT = TARGET + "/scripts/maillog.sh"
    PID_FILE = "/run/mailvane/maillog.pid"
    CALLS = "/run/systemctl.calls"
    WANTS = "/etc/systemd/system/multi-user.target.wants/"

    def setUp(self):
        stand_in = ("echo \"$*\" >>%s\n[ \"$*\" != 'start %s' ] || exec %s launch\n"
                    "[ \"$*\" != '--no-block stop %s' ] || kill $(cat %s) || :\n"
                    % (self.CALLS, self.UNIT, self.SCRIPT, self.UNIT, self.PID_FILE))
        self.addCleanup(control, "maillog", "start")
        self.enterContext(in_place_of("/usr/bin/systemctl", stand_in))
        os.makedirs("/run/systemd/system")
        self.addCleanup(run, "/bin/rm", "-rf", "/run/systemd", ETC + "/adopted",
                        self.WANTS + self.UNIT, self.WANTS + "mailvane-opendkim.service")
        os.makedirs(self.WANTS, exist_ok=True)

    def calls(self, service, verb):
        """What systemctl is asked for by a verb that succeeds."""
        write(self.CALLS, "")
        self.assertEqual(control(service, verb), 0)
        return contents(self.CALLS).splitlines()

    def test_services_that_are_not_ours_are_left_alone(self):
        running = pid_of(self.PID_FILE)
        refusal = run(self.SCRIPT, "restart", check=False)
        self.assertIn("mailvane-setup adopt", refusal)
        self.assertNotEqual(control("maillog", "start"), 0)
        for service in ("maillog", "postfix"):
            self.assertEqual(self.calls(service, "stop"), [])
        self.assertEqual(self.calls("opendkim", "restart"), [], "switched off")
        self.assertTrue(answers(25))
        self.assertEqual(pid_of(self.PID_FILE), running)

    def test_units_are_started_stopped_and_follow_the_settings_at_boot(self):
        os.mkdir(ETC + "/adopted")
        stopped = ["--no-block stop " + self.UNIT, "stop " + self.UNIT]
        enabled = ["--quiet enable " + self.UNIT]
        self.assertEqual(self.calls("maillog", "stop"), stopped + enabled)
        self.assertEqual(self.calls("maillog", "start"), stopped + ["start " + self.UNIT] + enabled)
        os.symlink("/somewhere", self.WANTS + self.UNIT)
        self.assertEqual(self.calls("maillog", "restart"), [], "runs, and is enabled")
        os.symlink("/somewhere", self.WANTS + "mailvane-opendkim.service")
        self.assertIn("--quiet disable mailvane-opendkim.service",
                      self.calls("opendkim", "restart"))
