#!/usr/bin/python3
"""Every program that the sources run belongs to a package that is installed for them: by the lists of
packaging/lib/machine.sh, and by debian/control where the package runs it."""
import os
import re
import subprocess
import unittest

import programs

TOP = os.path.dirname(os.path.realpath(__file__)) + "/../.."
LISTS = "packaging/lib/machine.sh"

# Where a source lies, the first that fits, and the lists that are installed for it.
PLACES = (
    (".ci/", "build test world lint"),
    ("tests/package/", "build test world package machine"),
    ("tests/fuzz/", "build test fuzz"),
    ("tests/", "build test world"),
    ("test", "build test world"),
    ("packaging/make-package", "build package"),
    ("packaging/armhf/", "build armhf"),
    (r"debian/|packaging/(?:scripts|sbin|systemd|machine)/|(?:addresses|filtering|frame|host|maillog"
     r"|personal|platform|services|tools)/", "control"),
    ("", "build world"),
)
MADE_BY_US = {"/usr/sbin/policy-rc.d", "/usr/bin/sa-compile"}
APT = "apt"  # is there wherever a package can be installed


def read(path):
    """Text of a source."""
    with open(os.path.join(TOP, path), encoding="utf-8") as file:
        return file.read()


def output(*command):
    """What a program writes."""
    return subprocess.run(command, check=False, cwd=TOP, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL).stdout


def sources():
    """Path and text of all that is under version control, or of all that lies here."""
    for folder, folders, names in os.walk(TOP):
        folders[:] = [name for name in folders if name not in (".git", ".world", "build")]
        for name in names:
            path = os.path.relpath(os.path.join(folder, name), TOP)
            if not os.path.islink(os.path.join(TOP, path)):
                try:
                    yield path, read(path)
                except UnicodeDecodeError:
                    pass


def is_shell(path, text):
    """Whether a source is for the shell."""
    return re.match(r"#!/bin/(ba)?sh|# shellcheck shell", text) is not None or path.endswith(".sh")


class Installed:
    """The packages of this machine, and whose each program is."""

    def __init__(self):
        self._packages = {}
        fields = ("db:Status-Status", "Package", "source:Package", "Essential", "Pre-Depends", "Depends",
                  "Provides")
        form = "\t".join("${%s}" % field for field in fields) + "\n"
        for line in output("dpkg-query", "-W", "-f", form).splitlines():
            status, name, source, essential, before, needs, provides = line.split("\t")
            if status != "installed":
                continue
            needs = before + "," + needs
            self._packages[name] = (source, essential == "yes", self._names(needs))
            for provided in self._names(provides):
                self._packages.setdefault(provided, (source, False, {name}))

    @staticmethod
    def _names(text):
        return set(re.findall(r"(?:^|[,|]) *([a-z0-9][a-z0-9.+-]+)", text))

    def has(self, name):
        """Whether a package is installed."""
        return name in self._packages

    def always(self):
        """Packages that every Debian machine has."""
        found, waiting = set(), [name for name, facts in self._packages.items() if facts[1]] + [APT]
        while waiting:
            name = waiting.pop()
            if name in self._packages and name not in found:
                found.add(name)
                waiting += self._packages[name][2]
        return found

    def with_parts(self, names):
        """Packages, and what they need of their own source: python3 is more than one."""
        return set(names) | {part for name in names if self.has(name)
                             for part in self._packages[name][2]
                             if self.has(part) and self._packages[part][0] == self._packages[name][0]}

    @staticmethod
    def owners(names):
        """Packages of programs; None where there is no such program."""
        paths = {name: name if "/" in name else programs.path_of(name) for name in names}
        files = {name: {form for known in (path, os.path.realpath(path))
                        for form in (known, "/usr" + known, known.removeprefix("/usr"))}
                 for name, path in paths.items() if path and os.path.exists(path)}
        told = re.findall(r"^(?!diversion )([^:,]+).*: (\S+)$",
                          output("dpkg-query", "-S", *set().union(*files.values())), re.M)
        packages = {path: package for package, path in told}
        return {name: next((packages[form] for form in sorted(files[name]) if form in packages),
                           "no package") if name in files else None for name in names}


class NeededPrograms(unittest.TestCase):
    """See above."""
    maxDiff = None

    def setUp(self):
        self.installed = Installed()
        self.lists = {"control": set(re.findall(
            r"^ ([a-z0-9.+-]+)(?::any)?,$",
            read("debian/control").split("\nDepends:")[1].split("\nSuggests:")[0], re.M))}
        for name in set(re.findall(r"^(\w+)_packages=", read(LISTS), re.M)):
            self.lists[name] = set(output("bash", "-c", '. "$0"; printf "%%s " "${%s_packages[@]}"' % name,
                                          LISTS).split())

    def used(self):
        """Each source with the programs that it runs, our own left out."""
        texts = dict(sources())
        shell = {path for path, text in texts.items() if is_shell(path, text)}
        ours = set().union(*(programs.functions(texts[path]) for path in shell))
        own = {os.path.splitext(os.path.basename(path))[0] for path in texts} | set(re.findall(
            r"add_executable\((\w+)", "".join(text for path, text in texts.items() if "CMake" in path)))
        actions = set(re.findall(r"operationId: (\w+)", texts["docs/openapi.yaml"]))
        for path, text in texts.items():
            found = programs.of_source(path, text, path in shell, ours) - actions - MADE_BY_US
            yield path, {name for name in found if name.startswith("/usr/")
                         or not name.startswith("/var/packages/") and os.path.basename(name) not in own}

    def test_are_brought_by_a_package_of_the_lists(self):
        """The lists of what a program's source is for."""
        always, wrong, used = self.installed.always(), set(), dict(self.used())
        owners = self.installed.owners(set().union(*used.values()))
        for path, found in used.items():
            names = next(lists for place, lists in PLACES if re.match(place, path)).split()
            # What the package runs, it runs in the private world too.
            for group in ([names, ["build", "world"]] if names == ["control"] else [names]):
                packages = set().union(*(self.lists[name] for name in group))
                wrong |= {"%s: %s of %s, not in %s" % (path, program, owner, " ".join(group))
                          for program in found for owner in [owners[program]]
                          if self._is_wrong(owner, packages, always)}
        self.assertEqual(sorted(wrong), [])

    def _is_wrong(self, owner, packages, always):
        if owner is None:  # it may be in a package that nobody has needed on this machine
            return all(map(self.installed.has, packages))
        return owner not in always and owner not in self.installed.with_parts(packages)

    def test_are_found_wherever_they_stand(self):
        """In commands, behind those that start others, in arrays, in scripts within scripts."""
        for script, wanted in (
                ("a() { ls; }; a; b | c &", {"ls", "b", "c"}), ('x=$(b "$(c)")', {"b", "c"}),
                ("exec env A=1 ls", {"env", "ls"}), ("words=(ls -l)", {"ls"}),
                ("as_user mail ls -l", {"as_user", "ls"}), ("bash -c 'b; c \"$1\"'", {"bash", "b", "c"}),
                ("x=/usr/bin/ls", {"/usr/bin/ls"}), ("cd /; [ a = b ] || echo no", set()),
                ("command -v b", set()), ("if b; then while c; do :; done; fi", {"b", "c"})):
            self.assertEqual(programs.of_shell(script), wanted, script)
        for source, wanted in (
                ("run('b', '-x')", {"b"}), ("subprocess.Popen(['b', x])", {"b"}),
                ("run('sh', '-c', 'b %s' % c)", {"sh", "b"}), ("X = '/usr/bin/env'", {"/usr/bin/env"}),
                ("B = 'c; ls'\noutput('bash', '-c', B)", {"bash", "c", "ls"}),
                ("X = {'ls': ['ls', '-l']}", {"ls"}), ("print('b')", set())):
            self.assertEqual(programs.of_python(source), wanted, source)


if __name__ == "__main__":
    unittest.main()
