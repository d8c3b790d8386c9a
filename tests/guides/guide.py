"""Follows a guide: types the commands of its console blocks and compares what they show.

A block begins with ```console. A line of it that begins with "# " or "$ " is a command, the lines
below it are all that the command shows. `…` stands for any text, alone on a line for any lines. Where
the command asks for something, what is shown behind the question is typed, a password where nothing is
shown. Words behind ```console, which readers do not see:

  soon       what is shown comes after a while: the command is typed again until then
  fails      the command has another exit status than 0
  machine    needs systemd or apt, and is left out in a private world
  like:TEXT  TEXT is different each time: what is there instead takes its place in later commands
"""
import dataclasses
import os
import pty
import re
import time

PASSWORD = "correct horse 7"
WEB_PASSWORD = "battery staple 8"  # is another one, as guides advise
PATIENCE = 150  # seconds, for what comes "soon"
BLOCK = re.compile(r"^```console(?P<words>.*)\n(?P<text>(?:.*\n)*?)```$", re.M)
PROMPT = re.compile(r"([^\n]*(?:\[y/N\]|[Pp]assword[^\n]*:|Again:)) ?\Z")
ENVIRONMENT = {"HOME": "/root", "LANG": "C.UTF-8", "TERM": "dumb", "COLUMNS": "100",
               "DEBIAN_FRONTEND": "noninteractive", "PATH":
               "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin:"
               "/var/packages/Mailvane/target/bin"}


@dataclasses.dataclass
class Step:
    """A command of a guide."""
    place: str
    words: list
    command: str
    shown: list = dataclasses.field(default_factory=list)


def steps(path):
    """The commands of a guide, in order."""
    with open(path, encoding="utf-8") as file:
        text = file.read()
    if text.count("```console") != len(BLOCK.findall(text)):
        raise AssertionError(path + ": a block has no end")
    found = []
    for block in BLOCK.finditer(text):
        line = text.count("\n", 0, block.start()) + 2
        found += _steps_of(block, "%s:%%d" % path, line)
    return found


def _steps_of(block, place, line):
    """The commands of one block, the first line of which has a number."""
    found, end = [], None
    for number, text in enumerate(block["text"].splitlines(), line):
        if end is not None:
            found[-1].command += "\n" + text
            end = _goes_on(text) if end == "" else None if text == end else end
        elif text[:2] in ("# ", "$ "):
            found.append(Step(place % number, block["words"].split(), text[2:]))
            end = _goes_on(text)
        elif found:
            found[-1].shown.append(text)
        else:
            raise AssertionError(place % number + ": no command")
    return found


def _goes_on(text):
    """What the last line of a command will be, empty for the next one; None where it has ended."""
    here = re.search(r"<<'?(\w+)'?$", text)
    return here[1] if here else "" if text.endswith("\\") else None


class Follower:
    """Somebody who does what guides say, on this machine or where the words `there` run a command.
    `meanwhile` has what happens elsewhere after a command that begins with certain words."""

    def __init__(self, there=(), leaves_out=(), meanwhile=None):
        self._there = list(there)
        self._leaves_out = set(leaves_out)
        self._meanwhile = meanwhile or {}
        self._names = {}  # what the guide calls something, and what it is

    def follow(self, path):
        """Types all commands of a guide; AssertionError where it goes otherwise than shown."""
        for step in steps(path):
            if not self._leaves_out & set(step.words):
                self._take(step)
                for words, act in self._meanwhile.items():
                    if step.command.startswith(words):
                        act()

    def _take(self, step):
        command = step.command
        for name, value in self._names.items():
            command = command.replace(name, value)
        end = time.monotonic() + PATIENCE
        while True:
            status, said = self._type(command, step.shown)
            wrong = self._difference(step, status, said)
            if not wrong:
                return
            if "soon" not in step.words or time.monotonic() > end:
                raise AssertionError("%s: %s: %s\n%s" % (step.place, command, wrong, said))
            time.sleep(.2)

    def _difference(self, step, status, said):
        """What is not as the guide says."""
        if (status != 0) != ("fails" in step.words):
            return "exit status %d" % status
        names = [word[5:] for word in step.words if word.startswith("like:")]
        match = re.fullmatch(_pattern(step.shown, names), _plain(said) + "\n")
        if not match:
            return "shows something else than\n" + "\n".join(step.shown) + "\nbut"
        self._names.update(zip(names, match.groups()))
        return ""

    def _type(self, command, shown):
        """Exit status and output of a command at a terminal."""
        environment = ["%s=%s" % pair for pair in ENVIRONMENT.items()]
        words = [*self._there, "/usr/bin/env", *environment, "/bin/bash", "-c", command]
        first, terminal = pty.fork()
        if first == 0:
            os.chdir("/root")
            os.execv(words[0], words)
        said, typed = "", ""
        answered = -1  # the line of the last question
        try:
            for text in iter(lambda: os.read(terminal, 4096), b""):
                said += text.decode(errors="replace").replace("\r", "")
                prompt = PROMPT.search(said)
                if prompt and said.count("\n") > answered:
                    typed = _answer(prompt[1], shown, typed)
                    os.write(terminal, (typed + "\n").encode())
                    answered = said.count("\n")
        except OSError:  # the other side of the terminal is closed
            pass
        status = os.waitstatus_to_exitcode(os.waitpid(first, 0)[1])
        os.close(terminal)
        return status, said


def _answer(question, shown, before):
    """What the guide types at a question, after what was typed before."""
    password = before if question == "Again:" else WEB_PASSWORD if "the web" in question else PASSWORD
    for line in shown:
        if line.startswith(question):
            return line[len(question):].strip() or password
    raise AssertionError("the guide does not show this question: " + question)


def _plain(text):
    """Text without what does not count: blanks at the ends, and how many there are."""
    return "\n".join(re.sub(r"\s+", " ", line).strip() for line in text.strip().splitlines())


def _pattern(shown, names):
    """Regular expression for what a command may show, with a group for each name."""
    lines = _plain("\n".join(shown)).splitlines() or [""]
    pattern = "".join("(?:.*\n)*?" if line == "…" else re.escape(line).replace("…", ".*") + "\n"
                      for line in lines)
    for name in map(re.escape, names):
        pattern = pattern.replace(name, r"(\S+)", 1).replace(name, r"\S+")
    return pattern
