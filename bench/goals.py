"""What the benchmarks have to reach: the goals of all rows, here and nowhere else."""
from __future__ import annotations

import dataclasses
import fnmatch
import typing

if typing.TYPE_CHECKING:
    from measuring import Row


@dataclasses.dataclass(frozen=True)
class Goal:
    """A bound of the figure itself, or of its ratio to the peer's."""
    bound: float
    of_ratio: bool = False
    at_least: bool = False
    size: int = 0  # what is smaller has no goal

    def met(self, row: Row) -> bool | None:
        """None where there is nothing to compare with, or too little of it."""
        value = row.ratio if self.of_ratio else row.ours
        if value is None or row.size < self.size:
            return None
        return value >= self.bound if self.at_least else value <= self.bound

    def text(self, unit: str) -> str:
        return '%s %s %s' % ('≥' if self.at_least else '≤', '%.3g' % self.bound if self.bound < 1000
                             else '{:,.0f}'.format(self.bound), '×' if self.of_ratio else unit)


def at_most(bound: float, size: int = 0) -> Goal:
    return Goal(bound, size=size)


def at_least(bound: float) -> Goal:
    return Goal(bound, at_least=True)


def times(bound: float, size: int = 0) -> Goal:
    return Goal(bound, of_ratio=True, size=size)


LARGE_LOG = 10_000_000

# Area, what is measured and what it is compared with, as patterns; the first that fits counts. None:
# what is shown without a goal.
GOALS: tuple[tuple[str, str, str, Goal | None], ...] = (
    ('saves', '*, refused', '*', at_most(0)),
    ('saves', '*: port, pause', '*', None),
    ('saves', '*, pause', '*', at_most(0.2)),
    ('saves', '*: nothing*', '*', at_most(0.05)),
    ('saves', '*: port', '*', at_most(0.4)),
    ('saves', '*: scanner o*', '*', times(1.1)),
    ('saves', '*', '*', at_most(0.25)),

    ('request', 'load_smtp', 'floor', times(1.1)),
    ('request', 'load_smtp', 'php-cgi', times(1 / 6.5)),
    ('request', 'load_smtp', 'perl', times(1 / 6.5)),
    ('request', 'load_smtp, memory', 'floor', times(1.15)),
    ('web server', 'load_smtp by *', '*', times(2)),

    ('aliases', 'filtered', '*', times(1.5)),
    ('candidates', 'all *', '*', times(1.5)),
    ('access', 'add and apply', '*', times(1.5)),

    ('collector', 'lines', '*', at_least(250_000)),
    ('collector', 'memory', '*', times(1.1)),
    ('collector', 'lag', '*', at_most(1)),

    ('mail log', 'first page', '*', at_most(50, LARGE_LOG)),
    ('mail log', 'last page*', '*', at_most(50, LARGE_LOG)),
    ('mail log', 'by *', '*', at_most(50, LARGE_LOG)),
    ('mail log', 'overview', '*', at_most(50, LARGE_LOG)),
    ('mail log', 'substring', '*', at_most(1600, LARGE_LOG)),
    ('mail log', 'export', '*', times(1.3)),
    ('mail log', 'export, memory', '*', times(1.1)),

    ('at once', '* failed', '*', at_most(0)),
    ('growth', '*', '*', at_most(1.1)),
)


def goal_of(row: Row) -> Goal | None:
    for area, what, against, goal in GOALS:
        wanted = ((row.area, area), (row.what, what), (row.against, against))
        if all(fnmatch.fnmatchcase(text, pattern) for text, pattern in wanted):
            return goal
    return None
