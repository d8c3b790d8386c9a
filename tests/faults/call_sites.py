"""The calls of one run of a program that change files, and runs in which one of them goes wrong.

strace (1) finds the calls and injects the errors. The first process counts, and those of our own
programs that it starts; what these start, the daemons above all, runs undisturbed.
"""
import collections
import contextlib
import glob
import os
import re
import subprocess

import harness
from machine import write

STRACE = "/usr/bin/strace"
FOLDER = "/run/faults"
TOOLS = ("hald_set_config", "hald_gen_login_map", "hald_document")
KEPT = r'[<"](/var/packages/Mailvane/(etc|target/etc)|/home|/tmp|/var/lib/mailvane)\b'
BY_DESCRIPTOR = ("write", "pwrite64", "fsync", "fdatasync", "ftruncate", "fchmod", "fchown")
BY_NAME = ("rename", "renameat", "renameat2", "link", "linkat", "symlink", "symlinkat", "unlink",
           "unlinkat", "mkdir", "mkdirat", "rmdir", "chmod", "fchmodat", "chown", "fchownat")
CHANGING = ("open", "openat", *BY_DESCRIPTOR, *BY_NAME)
NEEDS_SPACE = {"write", "pwrite64", "ftruncate", "rename", "renameat", "renameat2", "link",
               "linkat", "symlink", "symlinkat", "mkdir", "mkdirat", "fsync", "fdatasync"}

# How a tool is started while FOLDER is there: each start has a number, and strace's options for it.
WRAPPER = """
name=${0##*/} count=1
while [ -e %(folder)s/$name.$count.begun ]; do count=$((count + 1)); done
[ -d %(folder)s ] || exec "$0.real" "$@"
: >%(folder)s/$name.$count.begun
[ -e %(folder)s/$name.$count.options ] || [ -e %(folder)s/all.options ] || exec "$0.real" "$@"
options=$(cat %(folder)s/$name.$count.options 2>/dev/null || cat %(folder)s/all.options)
exec %(strace)s -qq $options -o %(folder)s/$name.$count.calls "$0.real" "$@"
"""


class Site(collections.namedtuple("Site", "program run call number user text")):
    """A call that changes files: which run of which program ("" for the first one), and which of its
    calls of that name. `user` is the one in whose home a child works with his rights; or ""."""

    def __str__(self):
        return "%s%s %d: %s" % (self.program + " " if self.program else "", self.call, self.number,
                                self.text[:110])

    def faults(self):
        """What can go wrong with the call: an error, or the end of the process."""
        errors = ["EIO"]
        if self.call in ("open", "openat"):
            errors = ["EIO", "ENOSPC", "EMFILE"]
        elif self.call in NEEDS_SPACE:
            errors = ["EIO", "ENOSPC"]
        return errors + ["SIGKILL"]


Run = collections.namedtuple("Run", "status output")


@contextlib.contextmanager
def tools_can_be_traced():
    """While it lasts, the tools that the program starts can have faults, too."""
    with contextlib.ExitStack() as stack:
        for name in TOOLS:
            tool = "%s/bin/%s" % (harness.TARGET, name)
            os.rename(tool, tool + ".real")
            stack.callback(os.rename, tool + ".real", tool)
            write(tool, "#!/bin/bash\n" + WRAPPER % {"folder": FOLDER, "strace": STRACE})
            os.chmod(tool, 0o755)
        yield


@contextlib.contextmanager
def _prepared(**files):
    os.mkdir(FOLDER)
    try:
        for name, text in files.items():
            write("%s/%s" % (FOLDER, name), text)
        yield
    finally:
        for path in glob.glob(FOLDER + "/*"):
            os.unlink(path)
        os.rmdir(FOLDER)


def run(arguments, environment=None, data=b"", options=()):
    """Runs a program, under strace when there are options for it."""
    traced = [STRACE, "-qq", *options] if options else []
    program = arguments[0] + ".real"  # of a tool, not what is in its place
    if not os.path.exists(program):
        program = arguments[0]
    done = subprocess.run([*traced, program, *arguments[1:]], env=environment, input=data, check=False,
                          stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                          timeout=harness.PATIENCE)
    return Run(done.returncode, done.stdout)


def find(arguments, environment, data, user=None):
    """The sites of a run that nothing disturbs, and the run."""
    wanted = "-y -e trace=" + ",".join("?" + call for call in CHANGING)
    home = "/home/%s" % user if user else None
    with _prepared(**{"all.options": wanted}):
        first = FOLDER + "/first.calls"
        options = [*wanted.split(), "-o", first]
        if home:
            options += ["-f", "--detach-on=execve"]
        done = run(arguments, environment, data, options)
        sites = list(_sites(first, "", 1, user))
        for path in sorted(glob.glob(FOLDER + "/*.calls")):
            if path != first:
                name, count, _ = os.path.basename(path).split(".")
                sites += _sites(path, name, int(count), None)
    return sites, done


def _sites(path, program, count, user):
    """The sites in a list of calls, which has process numbers when a user's home is looked at."""
    counts = collections.Counter()
    first = None
    with open(path, encoding="utf-8", errors="replace") as lines:
        for line in lines:
            owner = ""
            if user:
                pid, _, line = line.partition(" ")
                line = line.lstrip()
                first = first or pid
                owner = user if pid != first else ""
            found = re.match(r"(\w+)\(", line)
            if not found or (owner and "/home/%s>" % user not in line):
                continue
            call = found.group(1)
            counts[call, owner] += 1
            if _changes(call, line):
                yield Site(program, count, call, counts[call, owner], owner, line.strip())


def _changes(call, line):
    if not re.search(KEPT, line) or " = -1 " in line:
        return False
    return call not in ("open", "openat") or "O_CREAT" in line


def run_with_fault(site, fault, arguments, environment, data):
    """Runs a program, and lets one of its calls go wrong."""
    how = "signal=KILL" if fault == "SIGKILL" else "error=" + fault
    options = "-e trace=%s -e inject=%s:%s:when=%d" % (site.call, site.call, how, site.number)
    if site.user:
        options += " -f --detach-on=execve -P /home/" + site.user
    if site.program:
        with _prepared(**{"%s.%d.options" % (site.program, site.run): options}):
            return run(arguments, environment, data)
    return run(arguments, environment, data, [*options.split(), "-o", "/dev/null"])
