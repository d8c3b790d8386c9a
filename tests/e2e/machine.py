"""The machine under test from inside: its files, its programs, its mail queue."""
import contextlib
import os
import signal
import smtplib

from harness import ETC, PATIENCE, POSTFIX_CONFIGURATION, TARGET, run, wait_for

QUEUE = ("/usr/sbin/postqueue", "-c", POSTFIX_CONFIGURATION)


def write(path, text):
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


def contents(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


@contextlib.contextmanager
def fragment(name, text):
    """While it lasts, the administrator's own configuration has this text."""
    path = "%s/local.d/%s" % (ETC, name)
    write(path, text)
    try:
        yield
    finally:
        os.unlink(path)


@contextlib.contextmanager
def in_place_of(program, script):
    """Another program under a program's name; the real one's ends in ".real"."""
    write(program + ".new", "#!/bin/bash\n" + script)
    os.chmod(program + ".new", 0o755)
    os.rename(program, program + ".real")
    os.rename(program + ".new", program)
    try:
        yield
    finally:
        os.rename(program + ".real", program)


@contextlib.contextmanager
def failing(service, how="exit 1", after=0):
    """While it lasts, the next verb of a control script, or run of another program, fails; or the
    one after so many."""
    script = service if "/" in service else "%s/scripts/%s.sh" % (TARGET, service)
    mark = "/run/fail-" + os.path.basename(script)
    write(mark, "x" * after)
    with in_place_of(script, """if [ -s {0} ]; then truncate --size=-1 {0}
elif [ -e {0} ]; then rm {0}; {1}; fi
exec {2}.real "$@"
""".format(mark, how, script)):
        yield
        if os.path.exists(mark):
            raise AssertionError(script + " was not run")


@contextlib.contextmanager
def stopped(pid):
    """While it lasts, a daemon and what it has started do nothing."""
    os.killpg(pid, signal.SIGSTOP)
    try:
        yield
    finally:
        os.killpg(pid, signal.SIGCONT)


def say_recipient(recipient, sender="x@elsewhere.test", source="203.0.113.1", helo="c.test"):
    """What the mail server answers to a client that names a recipient."""
    with smtplib.SMTP("127.0.0.1", 25, local_hostname=helo, timeout=PATIENCE,
                      source_address=(source, 0)) as client:
        client.ehlo()
        client.command_encoding = "utf-8"
        client.mail(sender, [] if sender.isascii() else ["SMTPUTF8"])
        code, text = client.rcpt(recipient)
        return "%d %s" % (code, text.decode())


def wait_for_an_empty_queue():
    wait_for(lambda: "queue is empty" in run(*QUEUE, "-p"), "an empty queue")
