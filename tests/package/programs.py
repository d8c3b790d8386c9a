"""Which programs the sources run: shell scripts by their syntax tree, Python by its own, units and
C++ by what looks like a program's path.

A word that only the running script knows, a variable's value for instance, is not followed.
"""
import ast
import functools
import json
import os
import re
import shutil
import subprocess

PATH = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"
PROGRAM_PATH = re.compile(r"/(?:usr/)?s?bin/[\w.+-]+|/usr/lib/postfix/sbin/[\w-]+")
NAME = re.compile(r"[a-z_][\w.+-]*")
SHELLS = ("sh", "bash", "/bin/sh", "/bin/bash")


@functools.cache
def path_of(name):
    """Path of a program of this machine, None where there is none of that name."""
    return shutil.which(name, path=PATH)


@functools.cache
def builtins():
    """What the shell does itself."""
    return set(subprocess.run(["bash", "-c", "compgen -b; compgen -k"], check=True, text=True,
                              stdout=subprocess.PIPE).stdout.split())


# --- shell ---------------------------------------------------------------------------------------

def _nodes(tree):
    if isinstance(tree, dict):
        yield tree
        tree = list(tree.values())
    if isinstance(tree, list):
        for branch in tree:
            yield from _nodes(branch)


def _text(word):
    """A word of the syntax tree, None where it is not the same each time."""
    texts = []
    for part in word.get("Parts", []):
        if part["Type"] == "DblQuoted":
            texts.append(_text(part))
        else:
            texts.append(part.get("Value") if part["Type"] in ("Lit", "SglQuoted") else None)
    return None if None in texts else "".join(texts)


@functools.cache
def _parse(script):
    done = subprocess.run(["shfmt", "--to-json"], input=re.sub("%[ds]", "_", script), text=True, check=True,
                          stdout=subprocess.PIPE)
    return list(_nodes(json.loads(done.stdout)))


def functions(script):
    """Names of the functions that a script defines."""
    return {node["Name"]["Value"] for node in _parse(script) if node.get("Type") == "FuncDecl"}


def of_shell(script, ours=frozenset()):
    """Programs that a script runs; `ours` are functions of what it is sourced with."""
    nodes = _parse(script)
    ours = ours | {node["Name"]["Value"] for node in nodes if node.get("Type") == "FuncDecl"}
    found = set()
    for node in nodes:
        if node.get("Type") == "CallExpr" and node.get("Args"):
            found |= _of_command([_text(word) for word in node["Args"]], ours)
        elif node.get("Array") and not node["Name"]["Value"].endswith("_packages"):
            # Often a command to come.
            words = [_text(item["Value"]) for item in node["Array"].get("Elems", [])]
            found |= _named(words[:1])
        found |= _paths(_text(node)) if "Parts" in node else set()
    return found


def _named(words):
    """Those that name a program of this machine."""
    return {word for word in words if word and NAME.fullmatch(word) and path_of(word)}


def _paths(text):
    return {text} if text and PROGRAM_PATH.fullmatch(text) else set()


def _of_command(words, ours):
    """Programs of one command. What follows a program or a function of ours may be a command that
    it runs: there, a word counts when it names a program of this machine."""
    first, rest = words[0], words[1:]
    if first == "command" and rest[:1] == ["-v"] or first is None and not rest:
        return set()
    found = set()
    if first and NAME.fullmatch(first) and first not in builtins() and first not in ours:
        found.add(first)
    if first not in builtins() or first in ("exec", "command", "trap"):
        found |= _named(rest) - builtins() - ours
    return found | _of_inner_scripts(words, ours)


def _of_inner_scripts(words, ours=frozenset()):
    found = set()
    for shell, option, script in zip(words, words[1:], words[2:]):
        if shell in SHELLS and option and re.fullmatch("-[a-z]*c", option) and script:
            found |= of_shell(script, ours)
    if words[:1] == ["trap"] and len(words) > 1 and words[1]:
        found |= of_shell(words[1], ours)
    return found


# --- Python --------------------------------------------------------------------------------------

def of_python(source):
    """Programs that a Python source runs: first words of calls that start processes, and paths."""
    tree = ast.parse(source)
    constants = {target.id: node.value for node in tree.body if isinstance(node, ast.Assign)
                 for target in node.targets if isinstance(target, ast.Name)}
    found = set()
    for node in ast.walk(tree):
        if isinstance(node, ast.Constant) and isinstance(node.value, str):
            found |= _paths(node.value)
        elif isinstance(node, (ast.Call, ast.List, ast.Tuple)):
            words = [_constant(word, constants)
                     for word in (node.args if isinstance(node, ast.Call) else node.elts)]
            if isinstance(node, ast.Call) and _starts_processes(node.func) and words:
                found |= _first_words(node.args[0], words[0])
            elif isinstance(node, ast.List) and any(word and word[0] == "-" for word in words):
                found |= _named(words[:1])
            found |= _of_inner_scripts(words)
    return found


def _constant(node, constants):
    """The text of an expression, as far as the source has it."""
    if isinstance(node, ast.Name):
        node = constants.get(node.id)
    if isinstance(node, ast.BinOp) and isinstance(node.op, ast.Mod):
        node = node.left
    return node.value if isinstance(node, ast.Constant) and isinstance(node.value, str) else None


def _starts_processes(function):
    name = function.attr if isinstance(function, ast.Attribute) else getattr(function, "id", "")
    return name.lstrip("_") in ("run", "Popen", "output", "attempt", "checked", "command", "execvp")


def _first_words(node, word):
    if isinstance(node, (ast.List, ast.Tuple)) and node.elts:
        word = _constant(node.elts[0], {})
    return {word} if word and NAME.fullmatch(word) else set()


# --- the rest ------------------------------------------------------------------------------------

def of_unit(text):
    """Programs that a unit runs."""
    return set(re.findall(r"^(?:Exec\w+|ConditionFileIsExecutable)=[-@:+!]*(/\S+)", text, re.M))


def of_logrotate(text):
    """Programs that the scripts of a logrotate configuration run."""
    found = set()
    for script in re.findall(r"postrotate\n(.*?)endscript", text, re.S):
        found |= of_shell(script)
    return found


def of_source(path, text, is_shell, ours):
    """Programs that a source runs, by its kind; `ours` are functions of its shell scripts. Tests in
    C++ make their programs themselves."""
    if is_shell:
        return of_shell(text, ours)
    if path.endswith(".py") or text.startswith("#!/usr/bin/python3"):
        return of_python(text)
    if re.search(r"\.(service|socket|timer|conf)$", path):
        return of_unit(text)
    if path.endswith("logrotate"):
        return of_logrotate(text)
    if path.endswith((".cpp", ".h")) and not path.startswith("tests/"):
        return set(PROGRAM_PATH.findall(text))
    return set()
