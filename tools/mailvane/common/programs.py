"""Runs the machine's programs: by argument vectors, in a clean environment, out of the reach of the
terminal's interrupt key."""
import os
import subprocess
from collections.abc import Sequence

from mailvane.common.display import last_line
from mailvane.common.errors import Refused

ENVIRONMENT = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL": "C"}


def run(command: Sequence[str], more_environment: dict[str, str] | None = None, typed: str = "",
        patience: int | None = None) -> tuple[int, str, str]:
    """Status, output and errors of a program; Refused when it does not start, or does not end
    within the seconds of `patience`. It has a session of its own, so that the terminal's interrupt
    key ends this program and not a change halfway."""
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
    """Output of a program; Refused, with what it says, when it fails."""
    status, output, errors = run(command, typed=typed)
    if status != 0:
        raise Refused(last_line(errors) or "%s failed" % os.path.basename(command[0]))
    return output
