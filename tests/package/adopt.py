#!/usr/bin/python3
"""The walk of a machine that has a mail server of its own: handed over and given back, with mail
before, meanwhile and after.

The machine (see inside.py) has the package installed and nothing handed over. Its Postfix and
Dovecot are configured anew.
"""
import json
import os
import subprocess
import time

import inside
from inside import PACKAGE, PASSWORD, SETUP, arrive, check, run, send_locally, subjects, until

HERE = os.path.dirname(os.path.abspath(__file__))
RELAY_PASSWORD = "relay:secret 9"

# A change that is ended some seconds after it has begun.
ENDED = """
$0 adopt --yes >/dev/null &
until [ -e $1/etc/adopted/originals ]; do sleep .02; done
sleep $2
kill -KILL $!
wait $!
"""

# Takes mail until its standard input ends, then says how many messages came.
RELAY = r"""
import sys
with RelayHost(2587, ("relay-user", sys.argv[1]), "/etc/dovecot/private/dovecot.pem",
               "/etc/dovecot/private/dovecot.key") as host:
    print("ready", flush=True)
    sys.stdin.read()
    print(len(host.mails))
"""


def serving():
    """Who serves SMTP and mailboxes."""
    return [line.split("(")[0].split(None, 1)[1].strip()
            for line in run(SETUP, "status").splitlines()[1:3]]


def snapshot():
    """Digests of what is not ours to change, and what starts with the machine."""
    files = run("find", "/etc/postfix", "/etc/dovecot", "/etc/aliases", "-type", "f", "-exec",
                "sha256sum", "{}", "+")
    units = run("sh", "-c", "systemctl is-enabled postfix dovecot opendkim opendmarc amavis; "
                            "ls /etc/systemd/system/*.d 2>/dev/null; true")
    return sorted(files.splitlines()), units


class RelayHost:
    """The provider's relay host, in the machine while it is a context."""

    def __enter__(self):
        with open(HERE + "/../e2e/relay_host.py", encoding="utf-8") as file:
            program = file.read() + RELAY
        self._process = subprocess.Popen(inside.command("/usr/bin/python3", "-c", program, RELAY_PASSWORD),
                                         stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        check(self._process.stdout.readline(), "ready\n", "relay host")
        return self

    def __exit__(self, *_):
        self._process.kill()

    def count(self):
        """Ends it; how many messages it was handed by the login."""
        return int(self._process.communicate(timeout=30)[0])


def prepare():
    """A machine that has served mail for years."""
    run(HERE + "/old-server", PASSWORD, RELAY_PASSWORD)
    run(SETUP, "admin", "alice", typed=PASSWORD + "\n")
    arrive("office@old.test", "old", "alice", "bob")
    send_locally("friend@far.test", "waits for the relay host")


def refuse():
    """Nothing changes before somebody says yes; what would hide mail stops it."""
    before = snapshot()
    text = run(SETUP, "adopt", "--dry-run")
    for line in ("smtp_hostname = mail.old.test", "acc_domain_name = old.test", "second.test",
                 "smtp_relay_server = 127.0.0.1", "smtp_relay_account = relay-user",
                 "message_size_limit_mb = 20", "mail to office goes to alice, bob", "pop3_enabled = no",
                 "alias tickets: |/usr/bin/logger -t tickets"):
        check(line in text, True, line + " in\n" + text)
    check(RELAY_PASSWORD in text, False, "the password is shown")
    run(SETUP, "adopt", wanted=4)
    run("bash", "-c", "echo mail >/var/mail/bob")
    run(SETUP, "adopt", "--yes", wanted=3)
    run("rm", "/var/mail/bob")
    check(snapshot(), before, "after what was refused")
    check(serving(), ["the machine's own"] * 2, "after what was refused")


def fail():
    """A step that fails takes everything back, and so does being told to end."""
    before = snapshot()
    run("sh", "-c", ENDED.replace("KILL", "TERM"), SETUP, PACKAGE, "1", wanted=1)
    check(snapshot(), before, "after an interruption")
    script = PACKAGE + "/target/scripts/maillog.sh"
    run("sh", "-c", "mv $0 $0.away && printf '#!/bin/sh\n[ $1 = stop ]' >$0 && chmod 755 $0",
        script)
    run(SETUP, "adopt", "--yes", wanted=1)
    run("mv", script + ".away", script)
    check(snapshot(), before, "after a failure")
    check(serving(), ["the machine's own"] * 2, "after a failure")
    arrive("sales@second.test", "after the failure", "bob")


def die():
    """The next run brings what a killed one left to an end."""
    before = snapshot()
    for delay in ("0", "3"):
        run("sh", "-c", ENDED, SETUP, PACKAGE, delay, wanted=137)
        check("half handed over" in run(SETUP, "status"), True, "status after a kill")
        run(SETUP, "remove", "--yes")
        check(snapshot(), before, "after a kill")
        check(serving(), ["the machine's own"] * 2, "after a kill")
    check(run(SETUP, "remove"), "", "a second removal")
    run("sh", "-c", ENDED, SETUP, PACKAGE, "2", wanted=137)


def adopt():
    """No message is lost or doubled while the machine is handed over."""
    before = snapshot()[0]
    sender = inside.Sending("info@second.test", 100, "meanwhile")
    time.sleep(1)
    began = time.monotonic()
    run(SETUP, "adopt", "--yes")
    print("adopt took %.1f s" % (time.monotonic() - began))
    sender.arrives("alice")
    check(serving(), ["mailvane"] * 2, "after adopt")
    check(snapshot()[0], before, "other packages' files")
    run(SETUP, "adopt", "--yes")
    check("action setup adopt: done" in run("journalctl", "-t", "mailvanectl"), True, "audit line")
    manifest = json.loads(run("cat", PACKAGE + "/etc/adopted/manifest.json"))
    check(manifest["state"], "adopted", "manifest")


def use():
    """What was taken over works."""
    check("old 0" in subjects("alice"), True, "mail from before")
    arrive("office@second.test", "new", "alice", "bob")
    arrive("tickets@old.test", "ticket", "bob")
    arrive("postmaster@old.test", "role", "alice")
    send_locally("info", "by a program")
    until(lambda: "by a program" in subjects("alice"), "mail from a program")
    with RelayHost() as relay:
        run("postqueue", "-f")
        until(lambda: run("postqueue", "-j") == "", "the queue empties")
        check(relay.count(), 1, "messages at the relay host")


def remove():
    """The machine's own server runs as before, and has the mail that came meanwhile."""
    run("sh", "-c", "echo '# changed' >>/etc/postfix/virtual")
    before = snapshot()[0]
    text = run(SETUP, "remove", "--yes")
    check("/etc/postfix/virtual" in text, True, "the changed file is told")
    check(snapshot()[0], before, "files after removal")
    check(serving(), ["the machine's own"] * 2, "after removal")
    arrive("office@old.test", "given back", "alice", "bob")
    check("new 0" in subjects("bob"), True, "mail that came meanwhile")
    send_locally("friend@far.test", "by the old relay")
    with RelayHost() as relay:
        run("postqueue", "-f")
        until(lambda: run("postqueue", "-j") == "", "the queue empties")
        check(relay.count(), 1, "messages at the relay host")


inside.walk(prepare, refuse, fail, die, adopt, use, remove)
