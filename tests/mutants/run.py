#!/usr/bin/python3 -B
"""Tries whether the tests notice faults: each mutant of mutants.toml is a small one, as a tired
colleague would write it.

A copy of the last commit, in build/mutants, gets one fault at a time; what the nearest suites run is
built, they run, and the fault is taken out again. The tree that you work in is never changed. Says
for each mutant which test noticed it. The end is a failure when one survived that no story is named
for.
"""
import argparse
import dataclasses
import json
import os
import pathlib
import re
import subprocess
import sys
import tomllib

HERE = pathlib.Path(__file__).resolve().parent
TREE = HERE.parent.parent
COPY = TREE / "build" / "mutants"
BUILD = COPY / "build" / "dev"
LONGEST_RUN = 600  # seconds; a test that a fault lets hang has noticed it

# The lines in which the test programs name a test that failed.
FAILED_TEST = re.compile(r"^\[  FAILED  \] ([\w/]+\.[\w/]+)|^(?:FAIL|ERROR): (\w+)", re.MULTILINE)


class Refused(Exception):
    """What stands in the way of a run, in words."""


@dataclasses.dataclass
class Mutant:
    """One fault: the text of a file, and what it becomes."""

    file: str
    fault: str
    before: str
    after: str
    suites: list[str]
    story: str = ""  # the end-to-end test that notices what the suites cannot

    def text_in(self, tree: pathlib.Path) -> str:
        """The whole file with the fault in it. Refused when it is not clear where it goes."""
        text = (tree / self.file).read_text(encoding="utf-8")
        found = text.count(self.before)
        if found != 1:
            raise Refused("%s: its text stands there %d times (%s)" % (self.file, found, self.fault))
        return text.replace(self.before, self.after)


def nearest(file: str, suites: dict[str, list[str]]) -> list[str]:
    """The suites of the longest folder that the file lies in."""
    folders = [folder for folder in suites if file.startswith(folder)]
    if not folders:
        raise Refused("%s: no suites are named for its folder" % file)
    return suites[max(folders, key=len)]


def read_table() -> list[Mutant]:
    """All mutants, as the table has them."""
    table = tomllib.loads((HERE / "mutants.toml").read_text(encoding="utf-8"))
    return [Mutant(**row, suites=nearest(row["file"], table["suites"])) for row in table["mutant"]]


def check(mutants: list[Mutant]) -> None:
    """Refused when a mutant no longer fits the sources as they stand."""
    for mutant in mutants:
        mutant.text_in(TREE)
        if mutant.story and not (TREE / "tests" / "e2e" / mutant.story).exists():
            raise Refused("%s: there is no story %s" % (mutant.file, mutant.story))


def run(*command: str, cwd: pathlib.Path = COPY) -> str:
    """The output of a command that must go well."""
    result = subprocess.run(command, cwd=cwd, check=False, text=True, errors="replace",
                            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT)
    if result.returncode != 0:
        raise Refused("%s failed:\n%s" % (" ".join(command), result.stdout[-4000:]))
    return result.stdout


def prepare() -> None:
    """Brings the copy to the last commit, and builds it whole: a later time only what changed."""
    commit = run("git", "rev-parse", "HEAD", cwd=TREE).strip()
    if COPY.exists():
        run("git", "checkout", "--force", "--detach", commit)
    else:
        run("git", "worktree", "add", "--detach", str(COPY), commit, cwd=TREE)
    os.environ.setdefault("CMAKE_CXX_COMPILER_LAUNCHER", "ccache")
    run("cmake", "--preset", "dev")
    run("cmake", "--build", str(BUILD))


def programs() -> dict[str, list[str]]:
    """What has to be built for each suite."""
    shown = json.loads(run("ctest", "--test-dir", str(BUILD), "--show-only=json-v1"))
    return {test["name"]: [os.path.relpath(word, BUILD) for word in test["command"]
                           if word.startswith(str(BUILD) + "/")] for test in shown["tests"]}


def tests_that_fail(suite: str) -> list[str]:
    """Runs a suite; the names of its tests that fail."""
    result = subprocess.run(
        ["ctest", "--test-dir", str(BUILD), "-R", "^%s$" % suite, "--output-on-failure",
         "--timeout", str(LONGEST_RUN)],
        check=False, text=True, errors="replace", stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT)
    if result.returncode == 0:
        return []
    names = {first or second for first, second in FAILED_TEST.findall(result.stdout)}
    return sorted(names) or [suite]


def try_out(mutant: Mutant, built: dict[str, list[str]]) -> list[str]:
    """Puts the fault in, runs suites until one notices it, and takes it out. The tests that did."""
    path = COPY / mutant.file
    sound = path.read_text(encoding="utf-8")
    path.write_text(mutant.text_in(COPY), encoding="utf-8")
    try:
        for suite in mutant.suites:
            if built[suite]:
                run("cmake", "--build", str(BUILD), "--target", *built[suite])
            noticed = tests_that_fail(suite)
            if noticed:
                return noticed
        return []
    finally:
        path.write_text(sound, encoding="utf-8")


def try_all(mutants: list[Mutant]) -> int:
    """Tries them one by one; the number of those that nothing notices."""
    prepare()
    built = programs()
    for suite in sorted({suite for mutant in mutants for suite in mutant.suites}):
        failing = tests_that_fail(suite)
        if failing:
            raise Refused("these fail without a fault: " + ", ".join(failing))

    survived = left = 0
    print("| file | fault | noticed by |\n|---|---|---|")
    for mutant in mutants:
        nobody = mutant.story or "**nothing**"
        try:
            noticed = try_out(mutant, built)
        except Refused as refused:
            print("mutants: %s" % refused, file=sys.stderr)
            noticed, nobody = [], "**it was not built**"
        if not noticed and mutant.story:
            left += 1
        elif not noticed:
            survived += 1
        names = ", ".join(noticed[:2]) or nobody
        print("| %s | %s | %s |" % (mutant.file, mutant.fault, names), flush=True)
    print("\n%d mutants: %d noticed, %d left to stories, %d survived"
          % (len(mutants), len(mutants) - left - survived, left, survived))
    return survived


def main() -> int:
    """The exit status."""
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--check", action="store_true",
                        help="only look whether the whole table fits the sources as they stand")
    parser.add_argument("word", nargs="*",
                        help="try the mutants whose file or fault has one of these words")
    arguments = parser.parse_args()
    try:
        mutants = read_table()
        check(mutants)
        if arguments.check:
            return 0
        if arguments.word:
            mutants = [mutant for mutant in mutants
                       if any(word in mutant.file + mutant.fault for word in arguments.word)]
        return 1 if try_all(mutants) else 0
    except Refused as refused:
        print("mutants: %s" % refused, file=sys.stderr)
        return 2


if __name__ == "__main__":
    sys.exit(main())
