#!/usr/bin/python3
"""Every program that the sources run belongs to a package that is installed for them: by the lists of
packaging/lib/machine.sh, and by debian/control where the package runs it.

Shell scripts are read by their syntax tree, Python by its own, everything else by what looks like the
path of a program. A word that only the running script knows, a variable's value for instance, is not
followed."""
import ast
import functools
import json
import os
import re
import shutil
import subprocess
import unittest

TOP = os.path.dirname(os.path.realpath(__file__)) + "/../.."
LISTS = "packaging/lib/machine.sh"

# Where a source lies, the first that fits, and the lists that are installed for it.
PLACES = (
    (".ci/", "build test world lint"),
    ("tests/mutants/", "build test world lint"),
    ("tests/package/", "build test world package machine"),
    ("tests/fuzz/", "build test fuzz"),
    ("tests/", "build test world"),
    ("test", "build test world"),
    ("packaging/make-package", "build package"),
    ("packaging/armhf/", "build armhf"),
    ("bench/", "build test world armhf bench"),
    (r"debian/|packaging/(?:scripts|sbin|systemd|machine)/|(?:addresses|filtering|frame|host|maillog"
     r"|personal|platform|services|tools)/", "control"),
    ("", "build world"),
)
MADE_BY_US = {"/usr/sbin/policy-rc.d", "/usr/bin/sa-compile"}
PATH = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"
PROGRAM_PATH = re.compile(r"(?<![\w}])/(?:usr/)?s?bin/[\w.+-]+|/usr/lib/postfix/sbin/[\w-]+")
NAME = re.compile(r"[a-z_][\w.+-]*")
STARTERS = ("run", "Popen", "output", "attempt", "checked", "command", "execvp")


def output(*command, **more):
    """What a program writes."""
    return subprocess.run(command, check=False, cwd=TOP, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL, **more).stdout


def sources():
    """Path and text of all that lies here, without what is built."""
    for folder, folders, names in os.walk(TOP):
        folders[:] = [name for name in folders if name not in (".git", ".world", "build")]
        for path in (os.path.relpath(os.path.join(folder, name), TOP) for name in names):
            if not os.path.islink(os.path.join(TOP, path)):
                with open(os.path.join(TOP, path), encoding="utf-8", errors="replace") as file:
                    yield path, file.read()


@functools.cache
def path_of(name):
    """Path of a program of this machine, None where there is none of that name."""
    return name if "/" in name else shutil.which(name, path=PATH)


def programs_among(words):
    """Those that name a program of this machine."""
    return {word for word in words if word and NAME.fullmatch(word) and path_of(word)}


def inner_scripts(words):
    """Programs of the scripts that a command hands to a shell."""
    return {program for shell, option, script in zip(words, words[1:], words[2:])
            if shell and re.fullmatch("(/bin/)?(ba)?sh", shell) and option
            and re.fullmatch("-[a-z]*c", option) and script for program in of_shell(script)}


@functools.cache
def nodes_of(script):
    """All nodes of a script's syntax tree."""
    def below(tree):
        for branch in tree.values() if isinstance(tree, dict) else tree:
            if isinstance(branch, dict):
                yield branch
            if isinstance(branch, (dict, list)):
                yield from below(branch)
    return list(below(json.loads(output("shfmt", "--to-json", input=re.sub("%[ds]", "_", script)))))


def literal(word):
    """A word of the syntax tree, None where it is not the same each time."""
    texts = [literal(part) if part["Type"] == "DblQuoted" else
             part.get("Value") if part["Type"] in ("Lit", "SglQuoted") else None
             for part in word.get("Parts", [])]
    return None if None in texts else "".join(texts)


def of_shell(script):
    """Programs that a script runs. What follows a program or a function may be a command that it
    runs: there, a word counts when it names a program of this machine."""
    found = set()
    for node in nodes_of(script):
        if node.get("Type") == "CallExpr" and node.get("Args"):
            words = [literal(word) for word in node["Args"]]
            if words[:2] == ["command", "-v"]:  # only asks whether it is there
                continue
            found |= inner_scripts(words)
            found |= {word for word in words[:1] if word and NAME.fullmatch(word)}
            if words[0] not in BUILTINS - {"exec", "command", "trap"}:
                found |= programs_among(words[1:])
        elif node.get("Array") and not node["Name"]["Value"].endswith("_packages"):
            # Often a command to come.
            first = node["Array"].get("Elems", [])[:1]
            found |= programs_among([literal(item["Value"]) for item in first])
        if "Parts" in node and PROGRAM_PATH.fullmatch(literal(node) or ""):
            found.add(literal(node))
    return found - BUILTINS


def of_python(source):
    """Programs that a Python source runs: first words of calls that start processes and of lists with
    options, and paths."""
    found = set()
    for node in ast.walk(ast.parse(source)):
        starts = isinstance(node, ast.Call) and getattr(
            node.func, "attr", getattr(node.func, "id", "")).lstrip("_") in STARTERS
        parts = node.args if starts else getattr(node, "elts", [])
        if starts and parts and isinstance(parts[0], (ast.List, ast.Tuple)):
            parts = parts[0].elts
        parts = [part.left if isinstance(part, ast.BinOp) else part for part in parts]
        words = [part.value if isinstance(part, ast.Constant) and isinstance(part.value, str) else None
                 for part in parts]
        if starts or any(word and word[0] == "-" for word in words):
            found |= programs_among(words[:1]) | inner_scripts(words)
        if isinstance(node, ast.Constant) and PROGRAM_PATH.fullmatch(str(node.value)):
            found.add(node.value)
    return found


def of_source(path, text):
    """Programs that a source runs, by its kind. Tests in C++ make their programs themselves."""
    if re.match(r"#!/bin/(ba)?sh|# shellcheck shell", text) or path.endswith(".sh"):
        return of_shell(text)
    if path.endswith(".py") or text.startswith("#!/usr/bin/python3"):
        return of_python(text)
    if path.endswith("logrotate"):
        return set().union(*map(of_shell, re.findall(r"postrotate\n(.*?)endscript", text, re.S)))
    if re.search(r"\.(cpp|h|service|conf)$", path) and not path.startswith("tests/"):
        return set(PROGRAM_PATH.findall(text))
    return set()


BUILTINS = set(output("bash", "-c", "compgen -b; compgen -k").split())


def owners_of(paths):
    """The package of each path that belongs to one; /bin is /usr/bin on some machines."""
    forms = {path: [form for known in (path, os.path.realpath(path))
                    for form in (known, "/usr" + known, known.removeprefix("/usr"))] for path in paths}
    lines = output("dpkg-query", "-S", *sum(forms.values(), []))
    told = {form: package for package, form in re.findall(
        r"^(?!diversion )([^:,]+).*: (\S+)$", lines, re.M)}
    return {path: next((told[form] for form in some if form in told), None)
            for path, some in forms.items()}


class NeededPrograms(unittest.TestCase):
    """See above."""
    maxDiff = None

    def setUp(self):
        self.lists = {"control": re.findall(r"^ ([a-z0-9.+-]+)(?::any)?,$", output(
            "sed", "/^Depends:/,/^Suggests:/!d", "debian/control"), re.M)}
        for name in re.findall(r"^(\w+)_packages=", output("cat", LISTS), re.M):
            script = '. "$0"; printf "%%s " "${%s_packages[@]}"' % name
            self.lists[name] = output("bash", "-c", script, LISTS).split()
        known = [line.split("\t") for line in output(
            "dpkg-query", "-W", "-f", "${Package}\t${source:Package}\t${Priority}\t${Depends}\n"
        ).splitlines()]
        self.source = {name: source for name, source, _, _ in known}
        self.always = {name for name, _, priority, _ in known if priority == "required"} | {"apt"}
        self.needs = {name: re.findall(r"(?:^|, )([\w.+-]+)", depends) for name, _, _, depends in known}

    def brought_by(self, packages):
        """Packages, and what they need of their own source: python3 is more than one."""
        return {part for name in packages for part in [name, *self.needs.get(name, ())]
                if part == name or self.source.get(part) == self.source[name]}

    def used(self):
        """Each source with the programs that it runs, our own left out."""
        texts = dict(sources())
        own = {os.path.splitext(os.path.basename(path))[0] for path in texts}
        own.update(*(re.findall(r"add_executable\((\w+)", text) for path, text in texts.items()
                     if "CMake" in path), re.findall(r"operationId: (\w+)", texts["docs/openapi.yaml"]))
        for path, text in texts.items():
            own.update(re.findall(r"^ *(\w+)\(\) ?[{(]", text, re.M))  # functions of the shell
        for path, text in texts.items():
            yield path, {program for program in of_source(path, text) - MADE_BY_US
                         if os.path.basename(program) not in own or program.startswith("/usr/")}

    def test_are_brought_by_a_package_of_the_lists(self):
        """The lists of what a program's source is for."""
        used, wrong = dict(self.used()), set()
        everything = set().union(*used.values())
        self.assertLessEqual({"setpriv", "sqlite3", "doveadm", "postconf", "/usr/bin/openssl"},
                             everything, "programs are not found any more")
        owners = owners_of({path_of(program) for program in everything if path_of(program)})
        for path, programs in used.items():
            names = next(lists for place, lists in PLACES if re.match(place, path)).split()
            # What the package runs, it runs in the private world too.
            for group in [names, ["build", "world"]] if names == ["control"] else [names]:
                packages = [package for name in group for package in self.lists[name]]
                brought = self.always | self.brought_by(packages)
                for program in programs:
                    owner = owners.get(path_of(program))
                    # One that is not here may be in a package that nobody has needed on this machine.
                    if owner is None and not all(package in self.source for package in packages):
                        continue
                    if owner not in brought:
                        wrong.add("%s: %s of %s, not in %s" % (path, program, owner, " ".join(group)))
        self.assertEqual(sorted(wrong), [])


if __name__ == "__main__":
    unittest.main()
