"""What the subcommands of the day-to-day upkeep share: who may, running programs, the line in the
system log about each change, tables."""
import contextlib
import json
import os
import subprocess
import sys
import syslog
import time

from mailvane.ctl import request_log
from mailvane.ctl.answers import Refused
from mailvane.ctl.reference import Usage, did_you_mean
from mailvane.ctl.request_log import plain

PACKAGE = "/var/packages/Mailvane"
ETC = PACKAGE + "/etc"
GENERATED = ETC + "/generated"
CURRENT = GENERATED + "/current"
SETTINGS_TOOL = PACKAGE + "/target/bin/hald_set_config"
ENVIRONMENT = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL": "C"}
LONGEST_USER, LONGEST_RESULT = 64, 128


def dispatch(session, words, verbs, name):
    """Runs one of the verbs of a subcommand: a table of functions and how many words they take, at
    least and at most."""
    require_root()
    run, least, most = verbs.get(words[0] if words else "", (None, 0, 0))
    if run is None or not least <= len(words) - 1 <= most:
        like = did_you_mean(words[0], verbs) if words and run is None else ""
        raise Usage("%s takes %s%s; `mailvanectl help %s` tells more" % (
            name, ", ".join(verbs), like, name))
    return run(session, *words[1:])


def require_root():
    """Refuses everybody else: what the upkeep reads is as secret as what it changes."""
    if os.geteuid() != 0:
        raise Usage("only root can do this")


def run(command: list[str], more_environment: dict[str, str] | None = None,
        typed: str = "") -> tuple[int, str, str]:
    """Status, output and errors of a program. It has a session of its own, so that the terminal's
    interrupt key ends this program and not a change halfway."""
    try:
        done = subprocess.run(
            command, env={**ENVIRONMENT, **(more_environment or {})}, cwd="/", check=False,
            input=typed, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
            errors="replace", start_new_session=True)
    except OSError as problem:
        raise Refused("%s: %s" % (command[0], problem.strerror)) from problem
    return done.returncode, done.stdout, done.stderr


def checked(command: list[str], typed: str = "") -> str:
    """Output of a program; Refused, with what it says, when it fails."""
    status, output, errors = run(command, typed=typed)
    if status != 0:
        raise Refused(last_line(errors) or "%s failed" % os.path.basename(command[0]))
    return output


def last_line(text):
    """The last line that says something."""
    lines = [line for line in text.splitlines() if line.strip()]
    return plain(lines[-1]) if lines else ""


def configure(*words: str) -> None:
    """Runs the settings tool, which changes all or nothing."""
    status, _, errors = run([SETTINGS_TOOL, *words], request_log.ENVIRONMENT)
    if status != 0:
        why = [text for priority, text in request_log.parsed(errors) if priority <= syslog.LOG_ERR]
        raise Refused("it was refused, and nothing has changed; the system log says why", why)


def confirm(session, question: str) -> None:
    """Asks before what cannot be taken back. A script says --yes instead."""
    if "--yes" in session.flags:
        return
    if not sys.stdin.isatty():
        raise Usage(question + " There is no terminal to ask at: say --yes")
    if input(question + " Go on? [y/N] ").strip().lower() not in ("y", "yes"):
        raise Refused("nothing was changed")


@contextlib.contextmanager
def audited(action, changes=()):
    """A change, with its line in the system log: who, which action, the result, and what it is
    about by name, never a secret."""
    result = "failed"
    try:
        yield
        result = "done"
    except Refused as problem:
        result = "failed (%s)" % problem
        raise
    finally:
        _log(action, result, list(changes))


def _log(action, result, names):
    user = os.environ.get("SUDO_USER") or "root"
    line = 'audit: user "%s", address console, action %s: %s' % (
        plain(user)[:LONGEST_USER], action, plain(result)[:LONGEST_RESULT])
    if names:
        line += "; to change: " + plain(", ".join(names))
    syslog.openlog("mailvanectl")
    syslog.syslog(syslog.LOG_NOTICE, "mailvane: " + line[:1000])


def sync_folder(folder):
    """Waits until the disk knows the names in a folder."""
    descriptor = os.open(folder, os.O_RDONLY | os.O_DIRECTORY)
    try:
        os.fsync(descriptor)
    finally:
        os.close(descriptor)


def print_json(value):
    """A value as indented JSON."""
    print(json.dumps(value, indent=2))


def print_table(head, rows):
    """Rows of texts in columns; the last one is as long as it likes."""
    rows = [[plain(str(cell)) for cell in row] for row in [head, *rows]]
    widths = [max(len(row[column]) for row in rows) for column in range(len(head) - 1)]
    for row in rows:
        cells = [cell.ljust(width) for cell, width in zip(row, widths)]
        print("  ".join([*cells, row[-1]]).rstrip())


def size_text(size):
    """A number of bytes for people."""
    if size < 1024:
        return "%d B" % size
    for unit in ("KB", "MB"):
        size /= 1024
        if size < 1024:
            return "%.1f %s" % (size, unit)
    return "%.1f GB" % (size / 1024)


def age_text(then):
    """How long ago a time was, for people."""
    minutes = max(0, int(time.time() - then)) // 60
    if minutes < 60:
        return "%d min" % minutes
    return "%d h" % (minutes // 60) if minutes < 48 * 60 else "%d d" % (minutes // 1440)


def date_text(then):
    """A time in the machine's own zone."""
    return time.strftime("%Y-%m-%d %H:%M:%S", time.localtime(then))


def stored_settings(folder=ETC):
    """The settings stored in a folder by name, as texts."""
    pairs = (line.partition("=") for line in lines_of(folder + "/mailvane.conf"))
    return {name.strip(): value.strip().removeprefix('"').removesuffix('"')
            for name, equals, value in pairs if equals}


def lines_of(path):
    """Lines of a file; none when it is not there."""
    try:
        with open(path, encoding="utf-8", errors="replace") as file:
            return file.read().splitlines()
    except FileNotFoundError:
        return []


def changed_settings(before, after):
    """Names of the settings that differ between two folders."""
    old, new = stored_settings(before), stored_settings(after)
    names = sorted(name for name in old.keys() | new.keys() if old.get(name) != new.get(name))
    return names + [name for name, file in (("domains", "/domains"), ("blocklists", "/dnsbl"))
                    if lines_of(before + file) != lines_of(after + file)]
