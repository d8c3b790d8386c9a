#!/usr/bin/python3
"""A machine that is looked at from outside: commands in it, mail to it, and what its users read.

It is the one of `machine` (see there) that the environment's MACHINE_STATE names.
"""
import os
import subprocess
import time

MACHINE = os.path.dirname(os.path.abspath(__file__)) + "/machine"
STATE = os.environ["MACHINE_STATE"]
PACKAGE = "/var/packages/Mailvane"
SETUP = PACKAGE + "/target/bin/mailvane-setup"
PASSWORD = "correct horse 7"
PATIENCE = 60  # seconds

# Sends by SMTP as another server would: what is not taken now is tried again.
SENDER = r"""
import smtplib, sys, time
longest, last = 0, time.monotonic()
for number in range(int(sys.argv[2])):
    while True:
        try:
            with smtplib.SMTP("127.0.0.1", 25, "sender.test", timeout=10) as server:
                server.sendmail("guest@sender.test", [sys.argv[1]],
                                "Subject: %s %d\n\nbody\n" % (sys.argv[3], number))
            longest, last = max(longest, time.monotonic() - last), time.monotonic()
            break
        except (OSError, smtplib.SMTPException):
            time.sleep(.05)
    time.sleep(.05)
print("%.1f" % longest)
"""

# Sends one message as a user's mail program does.
SUBMITTER = r"""
import smtplib, sys
user, password, sender, recipient, subject = sys.argv[1:]
with smtplib.SMTP("127.0.0.1", 587, timeout=60) as server:
    server.starttls()
    server.login(user, password)
    server.sendmail(sender, [recipient], "From: %s\nSubject: %s\n\nbody\n" % (sender, subject))
"""

# All subjects in a mailbox, as its user sees them.
READER = r"""
import imaplib, sys
if sys.argv[3] == "993":
    box = imaplib.IMAP4_SSL("127.0.0.1")
else:
    box = imaplib.IMAP4("127.0.0.1")
    box.starttls()
box.login(sys.argv[1], sys.argv[2])
box.select()
for part in box.fetch("1:*", "(BODY[HEADER.FIELDS (SUBJECT)])")[1]:
    if isinstance(part, tuple):
        print(part[1].decode().strip()[len("Subject: "):])
"""


def command(*words):
    """The words that run a command in the machine."""
    return [MACHINE, "run", STATE, *words]


def run(*words, typed="", wanted=0, longest=300):
    """Standard output of a command in the machine, which takes so many seconds at most."""
    done = subprocess.run(command(*words), input=typed, text=True, capture_output=True, check=False,
                          timeout=longest)
    if done.returncode != wanted:
        raise SystemExit("%s: status %d instead of %d\n%s%s" % (
            " ".join(words)[:200], done.returncode, wanted, done.stdout, done.stderr))
    return done.stdout


def python(program, *words):
    """Output of a Python program in the machine."""
    return run("/usr/bin/python3", "-c", program, *words)


def until(condition, what):
    """Waits for what takes its time."""
    end = time.monotonic() + PATIENCE
    while not condition():
        if time.monotonic() > end:
            raise SystemExit("never: " + what)
        time.sleep(.2)


def check(got, wanted, what):
    """One thing that has to be."""
    if got != wanted:
        raise SystemExit("%s: got %r, want %r" % (what, got, wanted))


def subjects(user, port=143):
    """Subjects of a user's mail in any order."""
    return sorted(python(READER, user, PASSWORD, str(port)).splitlines())


class Sending:
    """Messages on their way to an address, one after the other: "subject 0" and so on."""

    def __init__(self, address, count, subject):
        self._subject, self._count = subject, count
        self._process = subprocess.Popen(
            command("/usr/bin/python3", "-c", SENDER, address, str(count), subject),
            stdout=subprocess.PIPE, text=True)
        self._pause = None

    def arrives(self, user):
        """Waits until all of them were read by a user, each once."""
        if self._pause is None:
            self._pause = self._process.communicate(timeout=PATIENCE)[0].strip()
            if self._count > 1:
                print("nothing was taken in for %s s" % self._pause)
        wanted = sorted("%s %d" % (self._subject, number) for number in range(self._count))
        until(lambda: [text for text in subjects(user)
                       if text.rpartition(" ")[0] == self._subject] == wanted,
              "%s at %s, each once" % (self._subject, user))


def arrive(address, subject, *users):
    """Mail by SMTP to an address reaches these users, each once."""
    sending = Sending(address, 1, subject)
    for user in users:
        sending.arrives(user)


def send_locally(address, subject):
    """Mail from a program of the machine."""
    run("/usr/sbin/sendmail", "-i", address, typed="Subject: %s\n\nbody\n" % subject)


def nothing_left():
    """No file of the package is in the machine after it was purged."""
    left = run("sh", "-c", "find / -xdev -iname '*mailvane*' -not -path '/proc/*' "
                           "-not -path '/root/*' -not -path '/var/lib/dpkg/*' "
                           "-not -path '/var/cache/*' -not -path '/var/log/*'")
    check(left, "", "files")


def walk(*steps):
    """Takes steps, and says how long each took."""
    for step in steps:
        start = time.monotonic()
        step()
        print("%-16s ok, %.1f s" % (step.__name__, time.monotonic() - start), flush=True)
