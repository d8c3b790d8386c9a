"""What the benchmarks share: the rows of their one table, what a process costs, the requests, and the
world in which they run.

A benchmark tells each of its figures as a row: it is printed at once, and added to the file that
MAILVANE_BENCH_ROWS names, where bench/all finds the rows of all.
"""
from __future__ import annotations

import contextlib
import dataclasses
import functools
import grp
import json
import math
import os
import shutil
import signal
import statistics
import subprocess
import sys
import tempfile
import time
from collections.abc import Callable, Sequence
from typing import IO, Any, NamedTuple

from goals import goal_of

HERE = os.path.dirname(os.path.realpath(__file__))
SOURCES = os.path.dirname(HERE)
PACKAGE = '/var/packages/Mailvane'
ETC = PACKAGE + '/etc/'
PROGRAM = PACKAGE + '/target/ui/mailvane.cgi'
MAIL_LOG = PACKAGE + '/target/etc/maillog/maillog.db'
ROWS = 'MAILVANE_BENCH_ROWS'

# --- rows ----------------------------------------------------------------------------------------


@dataclasses.dataclass
class Row:
    """One figure, and that of what it is compared with."""
    area: str
    what: str
    ours: float
    unit: str
    size: int = 0  # entries, lines, accounts; 0 where nothing is counted
    against: str = ''
    peer: float | None = None

    @property
    def ratio(self) -> float | None:
        return self.ours / self.peer if self.peer else None

    def cells(self) -> list[str]:
        """The row as it is shown, below HEAD."""
        goal = goal_of(self)
        met = goal.met(self) if goal else None
        return [self.area, self.what, '{:,}'.format(self.size) if self.size else '',
                '%s %s' % (number(self.ours), self.unit),
                '' if self.peer is None else '%s %s' % (number(self.peer), self.unit), self.against,
                '' if self.ratio is None else '%.2f' % self.ratio,
                goal.text(self.unit) if goal and met is not None else '',
                '' if met is None else 'yes' if met else 'NO']


HEAD = ['area', 'what', 'size', 'ours', 'peer', 'which is', 'ratio', 'goal', 'met']
WIDTHS = [10, 34, 10, 15, 15, 22, 6, 14, 3]


def number(value: float) -> str:
    """Three digits, and all before the point."""
    return '{:,.0f}'.format(value) if abs(value) >= 100 or value == 0 else '%.3g' % value


def line(cells: Sequence[str]) -> str:
    """Words to the left, numbers to the right, all in columns."""
    padded = [cell.rjust(width) if column in (2, 3, 4, 6) else cell.ljust(width)
              for column, (cell, width) in enumerate(zip(cells, WIDTHS))]
    return ' '.join(padded).rstrip()


def add(row: Row) -> None:
    """Adds a row to those of bench/all."""
    if path := os.environ.get(ROWS):
        with open(path, 'a', encoding='utf-8') as file:
            file.write(json.dumps(dataclasses.asdict(row)) + '\n')


def tell(area: str, what: str, ours: float, unit: str, size: int = 0, against: str = '',
         peer: float | None = None) -> None:
    """Shows a figure as a row of the table."""
    row = Row(area, what, ours, unit, size, against, peer)
    if not _told:
        print(line(HEAD))
    _told.append(row)
    print(line(row.cells()), flush=True)
    add(row)


_told: list[Row] = []

GROWTH = 'growth'
GROWTH_SIZES = [10 ** power for power in range(3, 8)]
GROWTH_HEAD = ['ms CPU with', *map('{:,}'.format, GROWTH_SIZES), 'exponent', 'goal', 'met']


def growth_cells(what: str, costs_of: dict[int, float]) -> list[str]:
    """How something grows with its size, below GROWTH_HEAD. The exponent is that of the last two sizes."""
    (small, less), (large, more) = sorted(costs_of.items())[-2:]
    exponent = Row(GROWTH, what, math.log(more / less) / math.log(large / small), '')
    return [what, *(number(costs_of[size]) if size in costs_of else '' for size in GROWTH_SIZES),
            '%.2f' % exponent.ours, *exponent.cells()[-2:]]


def growth_line(cells: Sequence[str]) -> str:
    return ' '.join([cells[0].ljust(34), *(cell.rjust(10) for cell in cells[1:])])


def tell_growth(found: dict[int, dict[str, float]]) -> None:
    """Shows what some things cost by their size and name."""
    for what in found[max(found)]:
        costs_of = {size: by_name[what] for size, by_name in found.items()}
        print(growth_line(growth_cells(what, costs_of)), flush=True)
        for size, cost in costs_of.items():
            add(Row(GROWTH, what, cost, 'ms CPU', size))

# --- what a process costs ------------------------------------------------------------------------


class Cost(NamedTuple):
    """Milliseconds by the clock and of the processor, and the most memory in KiB."""
    clock: float
    cpu: float
    peak: float


def costs(build: str, rounds: int, environment: dict[str, str],
          commands: Sequence[tuple[str, list[str]]]) -> dict[str, Cost]:
    """Medians of each command by its name; they take turns."""
    words = [str(rounds)]
    for name, command in commands:
        words += (['--'] if len(words) > 1 else []) + [name] + command
    result = subprocess.run([build + '/bench/request_cost'] + words, env=environment,
                            stdout=subprocess.PIPE, text=True, check=True)
    found = {}
    for told in result.stdout.splitlines():
        name, clock, _, processor, peak = told.split('\t')
        found[name] = Cost(float(clock), float(processor), float(peak))
    return found


def spent(command: list[str], environment: dict[str, str], stdin: Any = subprocess.DEVNULL) -> tuple[bytes, Cost]:
    """What a command prints, and what it costs with the programs that it runs. The memory of who asks
    counts into the peak."""
    start = time.perf_counter()
    with tempfile.TemporaryFile() as output:
        process = subprocess.Popen(command, env=environment, stdin=stdin, stdout=output)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        clock = time.perf_counter() - start
        output.seek(0)
        printed = output.read()
    if process.returncode:
        raise subprocess.CalledProcessError(process.returncode, command, printed[:300])
    return printed, Cost(clock * 1e3, (usage.ru_utime + usage.ru_stime) * 1e3, usage.ru_maxrss)


def median(rounds: int, action: Callable[[int], object]) -> float:
    """Median of the milliseconds that an action takes, which is told its number."""
    found = []
    for turn in range(rounds):
        start = time.perf_counter()
        action(turn)
        found.append((time.perf_counter() - start) * 1e3)
    return statistics.median(found)

# --- requests ------------------------------------------------------------------------------------


@functools.cache
def administrator() -> str:
    """The first of the administrators."""
    members = grp.getgrnam('administrators').gr_mem
    if not members:
        raise OSError('the group administrators has no member')
    return members[0]


def request_environment(query: str, **more: str) -> dict[str, str]:
    """Environment of a GET request of an administrator."""
    return {'PATH': '/usr/bin:/bin', 'GATEWAY_INTERFACE': 'CGI/1.1', 'REQUEST_METHOD': 'GET',
            'SERVER_PROTOCOL': 'HTTP/1.1', 'QUERY_STRING': query, 'REMOTE_USER': administrator(),
            'REDIRECT_STATUS': '200', 'HTTP_X_MAILVANE': '1', **more}


def body(answer: bytes) -> bytes:
    return answer.replace(b'\r\n', b'\n').partition(b'\n\n')[2]


def answer(environment: dict[str, str], stdin: Any = subprocess.DEVNULL) -> tuple[bytes, Cost]:
    """The whole answer to a request, which has to be success, and what it costs."""
    printed, cost = spent([PROGRAM], environment, stdin)
    told = json.loads(body(printed) or b'{}')
    if told.get('success') is not True or 'errinfo' in told:
        raise OSError('%s is answered %r' % (environment['QUERY_STRING'], printed[:300]))
    return printed, cost


def get(query: str) -> tuple[bytes, Cost]:
    return answer(request_environment(query))


def upload(content_type: str, file: IO[bytes]) -> tuple[bytes, Cost]:
    """Answer to a body that lies in a file."""
    file.seek(0)
    return answer(request_environment('', REQUEST_METHOD='POST', CONTENT_TYPE=content_type,
                                      CONTENT_LENGTH=str(os.fstat(file.fileno()).st_size)), file)


def post(members: dict[str, Any]) -> tuple[bytes, Cost]:
    """Answer to a JSON body."""
    with tempfile.TemporaryFile() as file:
        file.write(json.dumps(members).encode())
        file.flush()
        return upload('application/json', file)


def beside(build: str, rounds: int, query: str, command: list[str]) -> tuple[Cost, Cost]:
    """What a page costs, and what a command that does the same; they take turns."""
    environment = request_environment(query)
    found = costs(build, rounds, environment, [('page', [PROGRAM]), ('peer', command)])
    return found['page'], found['peer']

# --- the world -----------------------------------------------------------------------------------


def arguments(*defaults: int) -> tuple[str, list[int]]:
    """The build that is given to a script, and the numbers that follow it."""
    words = sys.argv[1:]
    if not 1 <= len(words) <= 1 + len(defaults) or not all(word.isdigit() for word in words[1:]):
        sys.exit((sys.modules['__main__'].__doc__ or '').strip())
    return os.path.realpath(words[0]), [int(word) for word in words[1:]] + list(defaults[len(words) - 1:])


def main(function: Callable[[], None]) -> None:
    """Runs a script; what fails is told in one line. Whoever ends it ends its world with it."""
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    try:
        function()
    except (OSError, subprocess.CalledProcessError) as failure:
        sys.exit('%s: %s' % (os.path.basename(sys.argv[0]), failure))


def inside_world() -> bool:
    return os.path.exists('/run/private-world')


def in_a_world(build: str, *services: str) -> bool:
    """Whether this is a private world. If not, the script runs once more in one that has this build
    and runs these services, and is gone afterwards."""
    if inside_world():
        return True
    world = SOURCES + '/packaging/world'
    with tempfile.TemporaryDirectory(prefix='mailvane-bench-') as state:
        def inside(*words: str) -> None:
            subprocess.run([world, 'enter', state, *words], check=True)

        try:
            subprocess.run([world, 'start', state, '--net', '--bind', SOURCES, '--bind', build], check=True)
            inside(SOURCES + '/packaging/install-into', build)
            inside('useradd', '--groups', 'administrators', 'bench')
            for service in services:
                inside('%s/target/scripts/%s.sh' % (PACKAGE, service), 'start')
            inside('/usr/bin/python3', '-B', os.path.realpath(sys.argv[0]), build, *sys.argv[2:])
        finally:
            subprocess.run([world, 'stop', state], check=True)
    return False


def make_mail_log(build: str, entries: int) -> str:
    """A mail log's database, which is made unless it is there."""
    path = '%s/bench/mail-log-%d.db' % (build, entries)
    if not os.path.exists(path):
        print('making a log of %d entries ...' % entries, file=sys.stderr, flush=True)
        subprocess.run([build + '/bench/make-mail-log', path + '.new', str(entries)], check=True)
        os.rename(path + '.new', path)
    return path


def take_mail_log(database: str) -> None:
    """Puts a copy of a database in the place of this world's mail log, whose collector has ended."""
    folder, name = os.path.split(MAIL_LOG)
    for ending in ('-wal', '-shm'):
        with contextlib.suppress(FileNotFoundError):
            os.unlink('%s.live/%s%s' % (folder, name, ending))
    shutil.copyfile(database, '%s.live/%s' % (folder, name))
    if not os.path.lexists(MAIL_LOG):
        os.symlink('../maillog.live/' + name, MAIL_LOG)
