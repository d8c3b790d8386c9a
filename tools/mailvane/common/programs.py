"""Runs programs by argument vectors, in a clean environment and their own session, which Ctrl-C
does not reach."""
import os
import subprocess
from collections.abc import Sequence

from mailvane.common.display import last_line
from mailvane.common.errors import Refused

ENVIRONMENT = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL": "C"}


def run(command: Sequence[str], more_environment: dict[str, str] | None = None, typed: str = "",
        patience: int | None = None) -> tuple[int, str, str]:
    """Runs a program and returns status, output and errors. Refused when it does not start, or runs
    longer than `patience` seconds. It gets its own session, so that Ctrl-C ends mailvanectl and
    not a change halfway."""
    try:
        done = subprocess.run(
            command, env={**ENVIRONMENT, **(more_environment or {})}, cwd="/", check=False,
            input=typed, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
            errors="replace", start_new_session=True, timeout=patience)
    except OSError as problem:
        raise Refused("%s: %s" % (command[0], problem.strerror)) from problem
    except subprocess.TimeoutExpired as problem:
        raise Refused("%s: no end after %s seconds" % (command[0], patience)) from problem
    return done.returncode, done.stdout, done.stderr


def checked(command: Sequence[str], typed: str = "") -> str:
    """Runs a program and returns its output. Refused, with the last line of its errors, when it
    fails."""
    status, output, errors = run(command, typed=typed)
    if status != 0:
        raise Refused(last_line(errors) or "%s failed" % os.path.basename(command[0]))
    return output
