"""The mail scanner and the anti-virus engine: what they let through, and when they cannot tell."""
import concurrent.futures
import email.message
import email.utils
import io
import lzma
import os
import re
import shutil
import signal
import smtplib
import subprocess
import tarfile
import time
import zipfile

import file_modes
import harness
from harness import DOMAIN, ETC, TARGET, control, read, run, wait_for
from machine import contents, in_place_of, write

ALICE = "alice@" + DOMAIN
BOB = "bob@" + DOMAIN
STRANGER = "someone@elsewhere.test"
SIGNATURES = "/var/lib/clamav"
QUARANTINE = "/var/lib/mailvane/quarantine"
POSTFIX_FRAGMENT = ETC + "/local.d/main.cf"
RELEASE = "/usr/sbin/amavisd-release"
FRESHCLAM = "/usr/bin/freshclam"
DEFAULTS = "/etc/default/mailvane"
UPDATER_FRAGMENT = ETC + "/local.d/freshclam.conf"
SWITCHES = ("anti_virus_enable", "spam_enable", "enable_dangerous_content_scan")
OTHERS = ("enable_spf_check", "reject_spf_soft_fail", "enable_dkim", "enable_dmarc",
          "reject_sasl_sender_rate_exceed", "spam_dnsbl_enable", "smtpd_sasl_sender_rate_limit")
SPAM = {"spam_tag_score": 5, "spam_reject_score": 12, "spam_subject_tag": "[SPAM]",
        "spam_action": "reject", "virus_action": "reject", "spam_bayes": False}

# The two test patterns are put together here, so that no scanner stumbles over this file.
GTUBE = "XJS*C4JDBQADN1.NSBN3*2IDNEN*" + "GTUBE-STANDARD-ANTI-UBE-TEST-EMAIL*C.34X"
EICAR = "X5O!P%@AP[4\\PZX54(P^)7CC)7}$" + "EICAR-STANDARD-ANTIVIRUS-TEST-FILE!$H+H*"
SIGNATURE = "Local.Eicar-Body:0:*:" + EICAR.encode().hex() + "\n"


def zipped(name, data, first=None):
    """An archive; the name and text of its first member can make it look like a document."""
    archive = io.BytesIO()
    with zipfile.ZipFile(archive, "w") as file:
        if first:
            file.writestr(*first)
        file.writestr(name, data)
    return archive.getvalue()


def tarred(name, data, how):
    archive = io.BytesIO()
    with tarfile.open(fileobj=archive, mode="w") as file:
        entry = tarfile.TarInfo(name)
        entry.size = len(data)
        file.addfile(entry, io.BytesIO(data))
    return lzma.compress(archive.getvalue(), how)


def closed(archive):
    """An archive whose only member calls itself encrypted."""
    data = bytearray(archive)
    data[6] |= 1
    data[data.rfind(b"PK\1\2") + 8] |= 1
    return bytes(data)


MESSAGES = {
    "clean": ("Nothing special.", None, None),
    "spam": (GTUBE, None, None),
    "zebra": ("A zebra.", None, None),
    "virus": ("Look at this.", "eicar.txt", EICAR.encode()),
    "program": ("Run this.", "setup.exe", b"not really"),
    "archive": ("Run this.", "docs.zip", zipped("run.exe. .", b"not really")),
    "xz": ("Run this.", "docs.tar.xz", tarred("run.exe", b"not really", lzma.FORMAT_XZ)),
    "lzma": ("Run this.", "docs.tar.lzma", tarred("run.exe", b"not really", lzma.FORMAT_ALONE)),
    "document": ("Run this.", "docs.zip",
                 zipped("run.exe", b"not really", ("mimetype", "application/epub+zip"))),
    "closed": ("Run this.", "docs.zip", closed(zipped("run.txt", b"not really"))),
}


def message(kind, subject=None):
    text, name, data = MESSAGES[kind]
    mail = email.message.EmailMessage()
    mail["From"], mail["To"], mail["Subject"] = STRANGER, BOB, subject or kind
    mail["Date"], mail["Message-ID"] = email.utils.formatdate(), "<1@elsewhere.test>"
    mail.set_content(text + "\n")
    if name:
        mail.add_attachment(data, maintype="application", subtype="octet-stream", filename=name)
    return mail


def verdict(kind, subject=None, login=None, sender=STRANGER):
    """The server's answer to a message: code and words."""
    port = 587 if login else 25
    with smtplib.SMTP("127.0.0.1", port, "client.test", harness.PATIENCE) as client:
        if login:
            client.starttls(context=harness.unverified())
            client.login(login, "pw-" + login)
        mail = message(kind, subject)
        return harness.smtp_answer(lambda: client.send_message(mail, sender, [BOB]), BOB)


def daemons():
    """Names of the scanner's daemons that run."""
    names = "^/usr/s?bin/(amavisd|amavisd-milter|clamd|freshclam)( |$)"
    found = run("/usr/bin/pgrep", "-a", "-f", names, check=False)
    return {os.path.basename(line.split()[1]) for line in found.splitlines()}


def status():
    """The word of the anti-virus side; none while it is switched off."""
    return read("load_security").json().get("anti_virus_status")


def finished():
    wait_for(lambda: status() in ("done", "error"), "the anti-virus engine")
    return status()


def quarantine():
    return [os.path.join(folder, name) for folder, _, names in os.walk(QUARANTINE)
            for name in names]


def set_signatures(present):
    for name in os.listdir(SIGNATURES):
        os.unlink(os.path.join(SIGNATURES, name))
    if present:
        write(SIGNATURES + "/local.ndb", SIGNATURE)


def render():
    run(TARGET + "/bin/hald_set_config", "render")


class Scanner(harness.Story):
    def setUp(self):
        super().setUp()
        set_signatures(True)

    def secure(self, **changes):
        """Saves the security page with these of the three switches on, the others off."""
        page = read("load_security").json()
        body = {**{name: page[name] for name in OTHERS}, **dict.fromkeys(SWITCHES, False), **SPAM}
        self.change("save_security", **{**body, **changes})

    def assert_codes(self, **refused):
        """All messages are taken but for these."""
        for kind in ("clean", "spam", "virus", "program", "archive", "closed"):
            self.assertEqual(verdict(kind)[0], refused.get(kind, 250), kind)


class Switches(Scanner):
    def test_each_switch_alone_and_all_off_again(self):
        write(POSTFIX_FRAGMENT, "header_checks = pcre:{{/^Subject: held back/ HOLD}}\n")
        self.secure()
        self.assert_codes()
        self.secure(spam_enable=True)
        self.assert_codes(spam=554)
        self.assertEqual(verdict("spam", login="alice", sender=ALICE)[0], 250)
        self.secure(enable_dangerous_content_scan=True)
        self.assert_codes(program=554, archive=554)
        self.secure(anti_virus_enable=True)
        self.assertEqual(finished(), "done")
        self.assert_codes(virus=554)
        self.assertEqual(verdict("virus", login="alice", sender=ALICE)[0], 554)
        self.assertEqual(daemons(), {"amavisd", "amavisd-milter", "clamd"})

        # Mail on hold goes out with the last switch.
        self.assertEqual(verdict("clean", "held back"), (250, "taken"))
        os.unlink(POSTFIX_FRAGMENT)
        self.assertEqual(harness.mails("bob", "held back"), [])
        self.secure()
        harness.delivered("bob", "held back")
        self.assertEqual(daemons(), set())
        self.assertEqual(harness.postconf("smtpd_milters"), "")
        self.assert_codes()


class Spam(Scanner):
    def test_actions_and_scores(self):
        rows = (("reject", 554, False, True), ("quarantine", 250, False, True),
                ("discard", 250, False, False), ("tag", 250, True, False))
        tag = "$x @{[die]} ' \" \\ %s"
        for action, code, arrives, kept in rows:
            with self.subTest(action):
                shutil.rmtree(QUARANTINE)
                self.secure(spam_enable=True, spam_action=action, spam_subject_tag=tag,
                            spam_tag_score=7, spam_bayes=action == "tag")
                self.assertEqual(verdict("spam", action)[0], code)
                self.assertEqual(verdict("clean", "after " + action)[0], 250)
                mail = harness.delivered("bob", "after " + action)
                self.assertIn("\nSubject: after " + action, mail)
                self.assertEqual("autolearn=disabled" in mail, action != "tag")
                self.assertEqual(len(quarantine()), kept)
                self.assertEqual(len(harness.mails("bob", "%s " + action)), arrives)
                if action == "quarantine":
                    name = os.path.basename(quarantine()[0])
                    run("/usr/sbin/runuser", "-u", "amavis", "--", RELEASE, name)
                    harness.delivered("bob", "quarantine")
        mail = harness.mails("bob", "%s tag")[0]
        self.assertIn("ubject: %s tag\r\n" % tag, mail)
        self.assertIn("required=7", mail)

    def test_refused_attachment_types_are_read(self):
        write(ETC + "/attachment_types", "(.*\n")  # as nobody but a hand would
        self.change("set_attachment_filter", add_list=["exe"])
        self.addCleanup(self.change, "set_attachment_filter", modified_list=["exe"])
        self.secure(spam_enable=True)
        self.assert_codes(spam=554, program=550, archive=554)  # by the mail server, by the scanner
        for kind in ("xz", "lzma", "document"):
            self.assertEqual(verdict(kind)[0], 554, kind)

    def test_archives_that_nobody_can_look_into(self):
        stored = contents(DEFAULTS)
        self.addCleanup(write, DEFAULTS, stored)
        write(DEFAULTS, stored.replace("CLOSED_ARCHIVES=pass", "CLOSED_ARCHIVES=refuse"))
        self.secure(spam_enable=True)
        self.assert_codes(spam=554, closed=554)

    def test_the_quarantine_is_bounded(self):
        run("/bin/sh", "-c", "rm -rf %s/*" % QUARANTINE)
        for name, megabytes, days in (("old", 1, 31), ("large", 300, 3), ("older", 300, 4),
                                      ("new", 1, 0)):
            path = os.path.join(QUARANTINE, name)
            with open(path, "wb") as file:
                file.truncate(megabytes << 20)
            os.utime(path, (time.time() - days * 86400,) * 2)
        run(TARGET + "/scripts/daily.sh")
        self.assertEqual({os.path.basename(path) for path in quarantine()}, {"large", "new"})


class Processes(Scanner):
    def test_every_door_has_an_owner(self):
        page = read("load_security").json()
        self.addCleanup(self.secure, **{name: page[name] for name in OTHERS})
        self.secure(**dict.fromkeys(SWITCHES + OTHERS[:-1], True))
        self.assertEqual(finished(), "done")
        services = ("opendkim", "opendmarc", "amavisd-milter", "amavis", "clamd", "memcached")
        wanted = {os.path.realpath("/run/mailvane/%s/socket" % name) for name in services}
        wanted |= {"/run/mailvane/web/fcgi.sock", "/run/dovecot/lmtp",
                   "/var/spool/postfix/private/policyd-spf",
                   "/var/spool/postfix/private/rate-policy"}
        self.assertEqual(wanted - set(file_modes.doors()), set(), "not all doors are there")
        file_modes.check()

    def test_what_a_killed_scanner_had_unpacked_is_cleared_with_its_own_rights(self):
        self.secure(spam_enable=True)
        for name, owner, stays in (("locked", "amavis", False), ("foreign", "root", True)):
            path = "/var/lib/amavis/tmp/" + name
            os.makedirs(path + "/inner")
            self.addCleanup(shutil.rmtree, path, ignore_errors=True)
            for folder in (path + "/inner", path):
                shutil.chown(folder, owner)
                os.chmod(folder, 0)
            os.utime(path, (time.time() - 7200,) * 2)
            self.assertEqual([control("mailscanner", verb) for verb in ("stop", "start")], [0, 0])
            self.assertEqual(os.path.exists(path), stays, name)

    def test_a_scanner_that_cannot_tell_lets_nothing_through(self):
        self.secure(anti_virus_enable=True)
        self.assertEqual(finished(), "done")
        found = {row["key"]: row["status"] for row in read("mailvane_check").json()["settings"]}
        keys = ("mailscanner", "mailscanner_milter", "antivirus", "virus_signatures")
        self.assertEqual([found[key] for key in keys], ["OK"] * 4)
        for service, pid_file in (("antivirus", "/run/clamd.pid"),
                                  ("mailscanner", "/run/MailScanner.pid"),
                                  ("mailscanner", "/run/mailvane/amavisd-milter/pid")):
            with self.subTest(pid_file):
                process = harness.pid_of(pid_file)
                os.killpg(process, signal.SIGKILL)
                self.assertEqual(verdict("clean")[0], 451)
                if pid_file.count("/") == 2:
                    self.assertEqual(status(), "error")
                self.assertEqual(control(service, "restart"), 0)
                self.assertEqual(finished(), "done")
                self.assert_codes(virus=554)


    def test_an_engine_that_hangs_keeps_mail_alone_waiting(self):
        self.secure(anti_virus_enable=True)
        self.assertEqual(finished(), "done")
        os.kill(harness.pid_of("/run/clamd.pid"), signal.SIGSTOP)
        with concurrent.futures.ThreadPoolExecutor(1) as pool:
            waiting = pool.submit(verdict, "clean")
            for limit, action in ((5, lambda: read("load_security")),
                                  (40, lambda: self.change("add_domain", domain="hung.test")),
                                  (40, self.secure)):
                start = time.monotonic()
                action()
                self.assertLess(time.monotonic() - start, limit)
            self.assertIn(waiting.result()[0], (250, 451))
        self.assertEqual(verdict("clean")[0], 250)


class Signatures(Scanner):
    """The world has no network, and in this part no signatures."""

    def tearDown(self):
        write(UPDATER_FRAGMENT, "MaxAttempts 1\n")
        render()

    def update(self):
        """Starts an update as the program does: nobody waits for it."""
        return self.enterContext(subprocess.Popen(
            [TARGET + "/bin/hald_anti-virus", "update"], stdin=subprocess.DEVNULL))

    def test_the_first_signatures(self):
        run("/bin/sh", "-c", "rm -rf %s/*" % QUARANTINE)
        self.secure()
        set_signatures(False)
        self.secure(anti_virus_enable=True, virus_action="quarantine")
        self.assertIn(status(), ("fresh_clam", "service_starting", "error"))
        self.assertEqual(finished(), "error")

        write("/srv/extra.ndb", SIGNATURE)
        write(UPDATER_FRAGMENT, "".join("ExcludeDatabase %s\n" % name
                                        for name in ("main", "daily", "bytecode")) +
              "DatabaseCustomURL file:///srv/extra.ndb\n")
        render()
        self.assertEqual(self.update().wait(harness.PATIENCE), 0)
        self.assertEqual(finished(), "done")
        self.assert_codes()
        self.assertEqual([name[:6] for name in map(os.path.basename, quarantine())], ["virus-"])

    def test_an_update_that_hangs_is_seen_and_can_be_ended(self):
        self.secure(anti_virus_enable=True)
        self.assertEqual(finished(), "done")
        self.enterContext(in_place_of(FRESHCLAM, "exec sleep 300\n"))
        first = self.update()
        wait_for(lambda: status() == "fresh_clam", "the update")
        self.assertEqual(harness.pid_of("/run/hald_freshclam.pid"), first.pid)
        second = self.update()
        wait_for(lambda: re.search(r"-> FLOCK .* %d " % second.pid, contents("/proc/locks")),
                 "the second update, which waits for the first")
        first.terminate()
        self.assertEqual([update.wait(harness.PATIENCE) for update in (first, second)], [1, 0],
                         "two updates at once")
        self.assertEqual(finished(), "done")
        self.assertEqual(verdict("virus")[0], 554)


def setUpModule():
    write(UPDATER_FRAGMENT, "MaxAttempts 1\n")
    render()
