"""The control scripts: a verb brings a service to what its stored settings ask for."""
import imaplib
import os
import signal
import smtplib
import subprocess
import time
import unittest

import harness
from harness import ETC, TARGET, answers, banner, control, listener, pid_of, run
from machine import contents, write

MASTERS = {"postfix": "/var/spool/postfix/pid/master.pid", "dovecot": "/run/dovecot/master.pid"}
PORTS = {"postfix": 25, "dovecot": 143}


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

    def change_setting(self, name, value):
        self.change("mailvane.conf", lambda text: "".join(
            line for line in text.splitlines(True) if not line.startswith(name + "=")
        ) + ('%s="%s"\n' % (name, value) if value is not None else ""))

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

    def test_a_dead_master_is_replaced(self):
        for service, pid_file in MASTERS.items():
            for verb in ("start", "restart", "stop"):
                with self.subTest(service, verb=verb):
                    dead = pid_of(pid_file)
                    os.kill(dead, signal.SIGKILL)
                    self.assertEqual(control(service, verb), 0)
                    if verb == "stop":
                        self.assertEqual(control(service, "start"), 0)
                    self.assertTrue(answers(PORTS[service]))
                    self.assertNotEqual(pid_of(pid_file), dead)
        self.assert_mail_flows("after dead masters")

    def test_a_pid_file_that_names_somebody_else(self):
        with subprocess.Popen(["/bin/sleep", "60"]) as bystander:
            control("postfix", "stop")
            write(MASTERS["postfix"], "%d\n" % bystander.pid)
            self.assertEqual(control("postfix", "stop"), 0)
            self.assertIsNone(bystander.poll())
            self.assertEqual(control("postfix", "start"), 0)
            self.assertIsNone(bystander.poll())
            bystander.kill()
        self.assertTrue(banner().startswith("220 "))

    def test_an_instance_with_another_configuration_is_replaced(self):
        control("postfix", "stop")
        folder = "/etc/postfix-other"
        run("/bin/cp", "-rp", ETC + "/generated/current/postfix/.", folder)
        run("/usr/sbin/postfix", "-c", folder, "start")
        self.assertEqual(control("postfix", "restart"), 0)
        with open("/proc/%d/environ" % pid_of(MASTERS["postfix"]), "rb") as file:
            self.assertIn(b"MAIL_CONFIG=%s\0" % harness.POSTFIX_CONFIGURATION.encode(),
                          file.read())

    def test_sessions_survive_a_restart(self):
        with imaplib.IMAP4("127.0.0.1", timeout=20) as mailbox, \
                smtplib.SMTP("127.0.0.1", 25, timeout=20) as client:
            mailbox.starttls(harness.unverified())
            mailbox.login("bob", "pw-bob")
            client.ehlo()
            for service in MASTERS:
                self.assertEqual(control(service, "restart"), 0)
            self.assertEqual(mailbox.noop()[0], "OK")
            self.assertEqual(client.noop()[0], 250)

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
            self.change_setting("smtp_port", "2626")
            self.assertNotEqual(control("postfix", "restart"), 0)

    def test_settings_that_cannot_be_read_are_a_failure(self):
        self.change_setting("smtp_port", None)
        self.assertNotEqual(control("postfix", "restart"), 0)
        self.assertTrue(answers(25))

    def test_whoever_starts_a_service_does_not_wait_for_its_end(self):
        reader, writer = os.pipe()
        for service in MASTERS:
            control(service, "stop")
            script = "%s/scripts/%s.sh" % (TARGET, service)
            subprocess.run([script, "start"], check=True, stdin=subprocess.DEVNULL, timeout=30,
                           stdout=subprocess.PIPE, stderr=subprocess.STDOUT, pass_fds=[writer])
        os.close(writer)
        self.assertEqual(os.read(reader, 1), b"", "a daemon inherited a descriptor")
        os.close(reader)

    def test_what_killed_processes_left_behind_is_cleared(self):
        suffix = ".0123456789abcdef"
        old, new = time.time() - 2 * 86400, time.time()
        cases = ((ETC + "/.mailvane.db" + suffix, old, False), (ETC + "/alias.db.new", old, False),
                 (ETC + "/dkim.key/.dkim.private" + suffix, old, False),
                 (ETC + "/.mailvane.db" + suffix[::-1], old, True),
                 (ETC + "/rules/.own", old, True), (ETC + "/mailvane.db.new", new, True),
                 (ETC + "/local.d/main.cf.new", old, True),
                 (ETC + "/tls/.key.pem" + suffix, old, True),
                 (ETC + "/generated/gen-900000/", old, False),
                 (ETC + "/generated/gen-900001/", new, True), ("/tmp/BccFileabcdef", old, False),
                 ("/tmp/BccFilefedcba", new, True), ("/tmp/mailvane-lint.abcdef/", old, False),
                 ("/tmp/something", old, True))
        for name, age, _ in cases:
            if name.endswith("/"):
                os.mkdir(name)
            else:
                open(name, "w", encoding="ascii").close()
            os.utime(name, (age, age))
            self.addCleanup(run, "/bin/rm", "-rf", name)
        before = os.path.realpath(ETC + "/generated/current")
        run(TARGET + "/scripts/clean_leftovers.sh")
        for name, _, stays in cases:
            self.assertEqual(os.path.exists(name), stays, name)
        self.assertTrue(os.path.exists(before + "/manifest"))

    def test_other_verbs_are_refused(self):
        for service in ("postfix", "dovecot", "mailscanner", "web"):
            self.assertEqual(control(service, "reload"), 2)


class UnderSystemd(unittest.TestCase):
    """The world gets a systemctl that writes down what it is asked for, and starts one unit."""

    UNIT = "mailvane-maillog.service"
    SCRIPT = TARGET + "/scripts/maillog.sh"
    PID_FILE = "/run/mailvane/maillog.pid"
    CALLS = "/run/systemctl.calls"
    WANTS = "/etc/systemd/system/multi-user.target.wants/"

    def setUp(self):
        stand_in = ("#!/bin/sh\necho \"$*\" >>%s\n[ \"$*\" != 'start %s' ] || exec %s launch\n"
                    % (self.CALLS, self.UNIT, self.SCRIPT))
        self.addCleanup(control, "maillog", "start")
        os.rename("/usr/bin/systemctl", "/usr/bin/systemctl.real")
        self.addCleanup(os.rename, "/usr/bin/systemctl.real", "/usr/bin/systemctl")
        with open("/usr/bin/systemctl", "w", encoding="ascii") as file:
            file.write(stand_in)
        os.chmod("/usr/bin/systemctl", 0o755)
        os.makedirs("/run/systemd/system")
        self.addCleanup(run, "/bin/rm", "-rf", "/run/systemd", "/run/mailvane-recover",
                        ETC + "/adopted", self.WANTS + self.UNIT,
                        self.WANTS + "mailvane-opendkim.service")
        os.makedirs(self.WANTS, exist_ok=True)

    def calls(self, service, verb):
        """What systemctl is asked for by a verb that succeeds."""
        open(self.CALLS, "w", encoding="ascii").close()
        self.assertEqual(control(service, verb), 0)
        with open(self.CALLS, encoding="ascii") as file:
            return file.read().splitlines()

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

    def test_nothing_waits_while_the_machine_starts(self):
        os.mkdir(ETC + "/adopted")
        self.assertEqual(control("maillog", "stop"), 0)
        os.mkdir("/run/mailvane-recover")
        for call in self.calls("maillog", "restart"):
            self.assertRegex(call, "^--no-block|^--quiet enable")


if __name__ == "__main__":
    unittest.main()
