"""Runs the machine's programs: by argument vectors, in a clean environment, out of the reach of the
terminal's interrupt key."""
import contextlib
import signal
import subprocess

ENVIRONMENT = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL": "C"}
LONGEST = 180  # seconds


class Failed(Exception):
    """A step that did not succeed; its text tells the administrator why."""


_told = []  # numbers of the signals that came


@contextlib.contextmanager
def between_steps():
    """In it, a signal to end interrupts nothing: `heed` hears it."""
    numbers = (signal.SIGHUP, signal.SIGINT, signal.SIGTERM)
    before = [signal.signal(number, lambda own, _: _told.append(own)) for number in numbers]
    try:
        yield
    finally:
        for number, handler in zip(numbers, before):
            signal.signal(number, handler)


def heed():
    """Fails when this process was told to end."""
    if _told:
        raise Failed("interrupted by %s" % signal.Signals(_told[0]).name)


def attempt(*words, typed=""):
    """Exit status and what was written to standard output and standard error."""
    try:
        done = subprocess.run(words, input=typed, capture_output=True, check=False, text=True,
                              errors="replace", env=ENVIRONMENT, cwd="/", timeout=LONGEST,
                              start_new_session=True)
    except FileNotFoundError:
        return 127, "", "%s: no such program" % words[0]
    except subprocess.TimeoutExpired:
        return 124, "", "%s: no end after %d seconds" % (words[0], LONGEST)
    return done.returncode, done.stdout, done.stderr


def output(*words, typed=""):
    """What a program writes; Failed when it does not succeed."""
    status, text, errors = attempt(*words, typed=typed)
    if status != 0:
        raise Failed("%s: %s" % (" ".join(words[:3]), errors.strip() or "status %d" % status))
    return text
