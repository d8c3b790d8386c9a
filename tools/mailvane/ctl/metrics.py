"""mailvanectl metrics [FILE]: numbers for monitoring, as OpenMetrics text: mail by what became of it,
the queue by age, ages of certificate, key and signatures, what the last self-check found, changes and
the generation in force.

To standard output, or to FILE, which is replaced in one step and can be read by everybody. What cannot
be read is left out, and mailvane_source_up tells so. docs/monitoring.md tells about each metric; the
timer mailvane-metrics.timer, once it is enabled, writes them every minute for node_exporter."""
import os

from mailvane.common import paths
from mailvane.common.errors import Usage
from mailvane.ctl import answers, upkeep
from mailvane.ctl.session import Session

OPTIONS: set[str] = set()


def run(_session: Session, words: list[str]) -> int:
    """Writes the metrics."""
    upkeep.require_root()
    if len(words) > 1:
        raise Usage("metrics to one file")
    print(upkeep.run_tool(paths.METRICS_TOOL, *(os.path.abspath(word) for word in words)), end="")
    return answers.DONE
