"""Processes whose use of the machine is counted together, and limited: a control group of the kernel, of
either version."""
from __future__ import annotations

import contextlib
import os

TOP = '/sys/fs/cgroup'
PERIOD = 100_000  # microseconds over which the share of a processor is kept


def write(path: str, text: str) -> None:
    with open(path, 'w', encoding='ascii') as file:
        file.write(text)


class ControlGroup:
    """Use it in a `with` block; at its end, its processes are where all others are."""

    def __init__(self, name: str) -> None:
        self._one = os.path.exists(TOP + '/cgroup.controllers')  # for all that is counted and limited
        self._folders = ['%s/%s' % (TOP, name)] if self._one else [
            '%s/%s/%s' % (TOP, kind, name) for kind in ('cpu', 'cpuacct', 'memory')]

    def __enter__(self) -> ControlGroup:
        if self._one:
            write(TOP + '/cgroup.subtree_control', '+cpu +memory')
        for folder in self._folders:
            os.makedirs(folder, exist_ok=True)
        return self

    def __exit__(self, *_: object) -> None:
        for folder in self._folders:
            with open(folder + '/cgroup.procs', encoding='ascii') as file:
                left = file.read().split()
            for pid in left:
                with contextlib.suppress(ProcessLookupError):
                    write(os.path.dirname(folder) + '/cgroup.procs', pid)
            with contextlib.suppress(OSError):  # one that has just ended is still in it
                os.rmdir(folder)

    def add(self, pid: int) -> None:
        """Takes in a process, with what it will start."""
        for folder in self._folders:
            write(folder + '/cgroup.procs', str(pid))

    def limit(self, percent: int, mebibytes: int) -> None:
        """Gives all of them together so much of one processor, and of memory."""
        quota, most = PERIOD * percent // 100, str(mebibytes << 20)
        if self._one:
            write(self._folders[0] + '/cpu.max', '%d %d' % (quota, PERIOD))
            write(self._folders[0] + '/memory.max', most)
        else:
            write(self._folders[0] + '/cpu.cfs_period_us', str(PERIOD))
            write(self._folders[0] + '/cpu.cfs_quota_us', str(quota))
            write(self._folders[2] + '/memory.limit_in_bytes', most)

    def used(self) -> float:
        """Seconds of the processor that they have taken."""
        if self._one:
            with open(self._folders[0] + '/cpu.stat', encoding='ascii') as file:
                return int(file.readline().split()[1]) / 1e6
        with open(self._folders[1] + '/cpuacct.usage', encoding='ascii') as file:
            return int(file.read()) / 1e9
