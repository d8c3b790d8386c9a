"""Disks that are full, read-only or damaged, daemons and servers that hang, clocks that jump: clear
answers within the times that docs/operation.md promises, and the old state or the new one."""
import contextlib
import os
import signal
import sqlite3
import subprocess
import time

import harness
import nameserver
from directory import Directory, user
from harness import DOMAIN, ETC, TARGET, SystemLog, banner, post, read, tell, wait_for
from machine import contents, write
from test_ctl import ctl
from test_mail_log import LINK, entries

LOADS = ("load_smtp", "alias_enum&limit=50", "load_access", "load_bcc", "load_sender_quota",
         "load_personal&user=alice", "load_report", "load_attachment_filter")
SAVES = (
    {"action": "apply_alias_info", "aliasname": "trouble",
     "member": [{"name": "bob", "type": 0, "is_join": True}]},
    {"action": "add_access", "accessType": 0, "nameType": 0, "name": "t@far.test",
     "permission": "OK"},
    {"action": "add_bcc", "bccType": 0, "name": "t@far.test", "bccTo": "carol"},
    {"action": "set_sender_quota", "sasl_sender": "bob", "quota": 5},
    {"action": "set_attachment_filter", "add_list": ["exe"], "modified_list": []},
    {"action": "save_personal", "user": "alice", "forward_enable": True, "keep_copy": True,
     "forward_addr": "t@far.test"},
    {"action": "save_report", "report_sender_name": "T", "report_rcpt": "bob@" + DOMAIN,
     "report_sender_mail": "bob@" + DOMAIN})
LOAD, WRITE = 5, 10  # seconds of a load, and of a save that is refused, on a busy machine


def answers():
    return [read(load).json() for load in LOADS]


@contextlib.contextmanager
def other_disk(*options):
    """While it lasts, what is stored lies on a disk of its own; its mount options come last."""
    disk = "/mnt/disk"
    os.makedirs(disk, exist_ok=True)
    harness.run("mount", "-t", "tmpfs", "-o", "mode=755,size=16m", "disk", disk)
    harness.run("cp", "-a", ETC + "/.", disk)
    harness.run("mount", "--bind", disk, ETC)
    try:
        for option in options:
            harness.run("mount", "-o", "remount,bind,%s" % option if option == "ro" else
                        "remount,%s" % option, ETC if option == "ro" else disk)
        yield
    finally:
        harness.run("umount", ETC)
        harness.run("umount", disk)


@contextlib.contextmanager
def full():
    with other_disk():
        with contextlib.suppress(OSError), open(ETC + "/filler", "wb", buffering=0) as file:
            while True:
                file.write(bytes(4096))
        yield


@contextlib.contextmanager
def without_inodes():
    with other_disk():
        used = os.statvfs(ETC)
        harness.run("mount", "-o", "remount,nr_inodes=%d" % (used.f_files - used.f_ffree),
                    "/mnt/disk")
        yield


class Disks(harness.Story):
    def test_what_cannot_be_stored_is_refused_and_everything_stays(self):
        before = answers()
        page = {name: harness.load()[name] for name in harness.PAGE}
        settings = {"action": "save_smtp", **page, "smtp_hostname": "full.example.test"}
        for name, trouble in (("full", full), ("no inodes", without_inodes),
                              ("read-only", lambda: other_disk("ro"))):
            with trouble():
                self.assertEqual(answers(), before, name)
                for body in (*SAVES, settings):
                    start = time.monotonic()
                    answer = post(body).json()
                    self.assertLess(time.monotonic() - start, WRITE, (name, body))
                    self.assertIs(answer["success"], False, (name, body))
                self.assertEqual(answers(), before, name)
                self.assertTrue(banner().startswith("220 mv.test "))
        self.assert_saved(smtp_hostname="room.example.test")
        self.assertTrue(banner().startswith("220 room.example.test "))


class Damage(harness.Story):
    def refused(self, words):
        """A save says why it changes nothing."""
        log = SystemLog()
        self.assertIs(post(SAVES[3]).json()["success"], False)
        self.assertIn(words, "\n".join(log.lines()))

    def test_settings_that_were_cut_come_back_by_a_rollback(self):
        self.assert_saved(smtp_hostname="before.example.test")
        self.assert_saved(smtp_hostname="after.example.test")
        path = os.path.realpath(ETC + "/mailvane.conf")
        for size in (os.path.getsize(path) // 2, 0):
            os.truncate(path, size)
            self.assert_system_error(read("load_smtp").json())
            self.refused("mailvane.conf is damaged")
            status, _, errors = ctl("rollback")
            self.assertEqual((status, harness.settings()["smtp_hostname"]),
                             (0, "before.example.test"), errors)
            self.assertTrue(banner().startswith("220 before.example.test "))
            self.assert_saved(smtp_hostname="after.example.test")
            path = os.path.realpath(ETC + "/mailvane.conf")

    def test_a_manifest_that_is_lost_or_cut_comes_back_by_a_repair(self):
        tell("apply_alias_info", aliasname="kept",
             member=[{"name": "bob", "type": 0, "is_join": True}])
        self.addCleanup(tell, "alias_del", alias=["kept"])
        for size in (None, 0, 400):
            manifest = os.path.realpath(ETC + "/generated/current") + "/manifest"
            if size is None:
                os.unlink(manifest)
            else:
                write(manifest, contents(manifest)[:size])
            self.refused("mailvanectl repair")
            self.assertEqual(ctl("--yes", "repair")[0], 0)
            tell(**SAVES[3])
            self.assert_saved(smtp_hostname="repaired%s.example.test" % size)
            self.assertTrue(harness.postconf("myhostname").startswith("repaired"))
            harness.send("x@elsewhere.test", ["kept@" + DOMAIN], "kept %s" % size)
            harness.delivered("bob", "kept %s" % size)

    def test_a_mail_log_that_is_cut_while_it_is_filled_begins_anew(self):
        for number, size in enumerate((0, 5000)):
            harness.send("first%d@elsewhere.test" % number, ["bob@" + DOMAIN], "before the cut")
            wait_for(lambda one=number: entries("first%d@elsewhere.test" % one), "the entry")
            with sqlite3.connect(LINK) as database:
                database.execute("PRAGMA wal_checkpoint(TRUNCATE)")
            os.truncate(os.path.realpath(LINK), size)

            def shown(one=number):
                with contextlib.suppress(sqlite3.DatabaseError):
                    return entries("second%d@elsewhere.test" % one)
                return None
            harness.send("second%d@elsewhere.test" % number, ["bob@" + DOMAIN], "after the cut")
            wait_for(shown, "the entry in a new database")
        self.assertIs(read("load_log").json()["success"], True)


class Hanging(harness.Story):
    """What does not answer is waited for as long as the documents say, and no longer."""

    def timed(self, limit, action):
        start = time.monotonic()
        result = action()
        self.assertLess(time.monotonic() - start, limit)
        return result

    def stopped_group(self, service):
        pid = harness.pid_of({"postfix": "/var/spool/postfix/pid/master.pid",
                              "dovecot": "/run/dovecot/master.pid",
                              "memcached": "/run/mailvane/memcached/pid",
                              "opendkim": "/run/mailvane/opendkim.pid"}[service])
        os.kill(pid, signal.SIGSTOP)

    def test_daemons_that_hang(self):
        page = read("load_security").json()
        page.pop("success")
        page.pop("dkim_public_key", None)
        page.update(enable_dkim=True, reject_sasl_sender_rate_exceed=True)
        self.change("save_security", **page)
        for services, limit, change in (
                (("memcached",), 30, lambda: tell(**{**SAVES[3], "quota": 6})),
                (("opendkim",), 40, lambda: tell("save_security", **{**page,
                                                                     "enable_dkim": False})),
                (("postfix", "dovecot"), 100,
                 lambda: self.assert_saved(smtp_hostname="hung.example.test"))):
            for service in services:
                self.stopped_group(service)
            self.timed(LOAD, lambda: read("load_smtp"))
            self.timed(limit, change)
        self.assertTrue(banner().startswith("220 hung.example.test "))
        self.assert_mail_flows("after all have hung")

    def test_an_account_source_that_hangs(self):
        directory = Directory(user("otto", 5002))
        directory.start()
        self.addCleanup(directory.stop)
        with directory.hanging():
            for load in LOADS:
                answer = self.timed(LOAD, lambda load=load: read(load)).json()
                self.assertIs(answer["success"], True, load)
            answer = self.timed(30, lambda: read("load_personal&user=otto")).json()
            self.assertEqual(answer["errinfo"]["key"], "accounts_unavailable")
            self.timed(40, lambda: tell(**SAVES[0]))
        self.addCleanup(tell, "alias_del", alias=["trouble"])
        self.assert_mail_flows("after the account source has hung")

    def test_a_name_server_that_never_answers(self):
        server = nameserver.NameServer()
        server.start()
        self.addCleanup(server.stop)
        with server.silent():
            self.timed(LOAD, lambda: read("load_smtp"))
            self.timed(40, lambda: self.assert_saved(smtp_hostname="nodns.example.test"))
            self.assertIs(self.timed(15, lambda: read("mailvane_check")).json()["success"], True)


class Clocks(harness.Story):
    def test_the_program_by_other_clocks(self):
        """Decades off, saves come in force and what was made then can be changed afterwards."""
        for number, years in enumerate((-20, 20)):
            name = "clock%d.example.test" % number
            page = harness.load()
            body = {key: page[key] for key in harness.PAGE}
            words = ["%s=%s" % (key, str(value).lower() if isinstance(value, bool) else value)
                     for key, value in {**body, "smtp_hostname": name}.items()]
            done = subprocess.run(["/usr/bin/faketime", "-f", "%+dy" % years, TARGET +
                                   "/bin/mailvanectl", "save_smtp", *words], check=False, text=True,
                                  capture_output=True, timeout=harness.PATIENCE)
            self.assertEqual(done.returncode, 0, done.stderr)
            self.assertTrue(banner().startswith("220 %s " % name))
        self.assert_saved(smtp_hostname="now.example.test")
