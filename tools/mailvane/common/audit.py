"""The audit line in the system log."""
import contextlib
import os
import syslog
from collections.abc import Iterator, Sequence

from mailvane.common import paths
from mailvane.common.display import plain
from mailvane.common.errors import Refused

LONGEST_USER, LONGEST_RESULT, LONGEST_LINE = 64, 128, 1000


@contextlib.contextmanager
def audited(action: str, changes: Sequence[str] = ()) -> Iterator[None]:
    """Context of a change; at its end writes who made it, the action, the result, and the names of
    what it changes, never a secret."""
    result = "failed"
    try:
        yield
        result = "done"
    except Refused as problem:
        result = "failed (%s)" % problem
        raise
    finally:
        _log(action, result, changes)


def _log(action: str, result: str, names: Sequence[str]) -> None:
    user = os.environ.get("SUDO_USER") or "root"
    line = 'audit: user "%s", address console, action %s: %s' % (
        plain(user)[:LONGEST_USER], action, plain(result)[:LONGEST_RESULT])
    if names:
        line += "; to change: " + plain(", ".join(names))
    syslog.openlog("mailvanectl")
    syslog.syslog(syslog.LOG_NOTICE, "mailvane: " + line[:LONGEST_LINE])
    # A byte for each change, as the requests count theirs.
    with contextlib.suppress(OSError), open(paths.CHANGES + result.split(" ")[0], "ab",
                                            opener=_only_root) as count:
        count.write(b".")


def _only_root(path: str, flags: int) -> int:
    return os.open(path, flags | os.O_NOFOLLOW, 0o600)
