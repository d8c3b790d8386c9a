"""Converts the words of a command line into the members of a request.

A word is name=value, a JSON object, "-" for a JSON object on standard input, or a file to upload.
"""
from __future__ import annotations

import json
import sys

from mailvane.common.errors import Usage
from mailvane.common.reference import Action, Member
from mailvane.ctl import alias_members
from mailvane.ctl.answers import READABLE_MASK

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any

LOWEST, HIGHEST, LONGEST = -2**31, 2**31 - 1, 10  # the last in digits
WORDS = {"yes": True, "true": True, "no": False, "false": False}
NAME = set("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_")


def members_of(action: Action, words: list[str]) -> tuple[dict, list[str]]:
    """The members that the words give, by name, and the words that are names of files."""
    given: dict = {}
    files: list[str] = []
    lists: set[str] = set()  # lists for which there was a word
    fields: dict[str, dict] = {}
    for word in words:
        name, equals, text = word.partition("=")
        holder = action.holder(name)
        if word.startswith("{") or word == "-":
            given.update(_object(action, word))
        elif not equals or not name or set(name) - NAME:
            files.append(word)
        elif holder:
            _add(fields.setdefault(holder.name, {}), lists, holder.fields[name], text)
        else:
            _add(given, lists, action.member(name), text)
    for name, value in fields.items():
        if name in given:
            raise Usage("%s: either as a whole or member by member" % name)
        given[name] = json.dumps(value)
    return given, files


def complete(action: Action, given: dict) -> dict:
    """The members to send. A password that was not given, or was given as its mask, is sent as the
    text that keeps the stored one, where leaving it out would remove it."""
    kept = {member.name: member.mask for member in action.members.values()
            if member.secret and member.mask and
            given.get(member.name, READABLE_MASK) == READABLE_MASK}
    sent = {**given, **kept}
    missing = [name for name, member in action.members.items()
               if member.required and name not in sent]
    if missing:
        raise Usage("%s needs %s too%s" % (action.name, " ".join(missing), _edit_hint(action)))
    return sent


def _edit_hint(action: Action) -> str:
    if not action.edits:
        return ""
    page = action.edits[len("load_"):]
    return ": what is left out counts as off; `mailvanectl edit %s` changes single members" % page


def _add(given: dict, lists: set[str], member: Member, text: str) -> None:
    """Adds one name=value; for a list, each adds an entry."""
    if member.type != "array":
        if member.name in given:
            raise Usage("%s is given twice" % member.name)
        given[member.name] = _secret(member, text) if member.secret else _value(member, text)
        return
    if member.name not in lists:
        lists.add(member.name)
        given[member.name] = []
    given[member.name] += _entries(member, text)


def _entries(member: Member, text: str) -> list:
    if text.startswith("["):
        value = _json(text)
        _check(member, value)
        return value
    entry = text if member.items == "string" else _object_of(member, text)
    _check(member, [entry])
    return [entry]


def _object_of(member: Member, text: str) -> Any:
    """An object, from JSON or from the one word that stands for it."""
    if text.startswith("{") or not member.word:
        return _json(text)
    if member.word == alias_members.KIND:
        return alias_members.entry(text)
    return {member.word: text}


def _value(member: Member, text: str) -> Any:
    if member.time:
        text = _seconds(member, text)
    if member.type == "boolean":
        if text not in WORDS:
            raise Usage("%s is yes or no, not %s" % (member.name, text))
        return WORDS[text]
    if member.type == "integer":
        digits = text[1:] if text.startswith("-") else text
        if not (digits.isascii() and digits.isdigit() and len(digits) <= LONGEST):
            raise Usage("%s is a number, not %s" % (member.name, text))
        value = int(text)
    else:
        value = _object_of(member, text) if member.type == "object" else text
    _check(member, value)
    return value


def _seconds(member: Member, text: str) -> str:
    from mailvane.ctl import dates
    return dates.seconds(member.name, text, member.time)


def _secret(member: Member, text: str) -> str:
    """A password from standard input or a file: other users of the machine can see command lines.
    """
    if text == "-":
        line = _ask(member.name) if sys.stdin.isatty() else sys.stdin.readline()
    elif text.startswith("@"):
        try:
            with open(text[1:], encoding="utf-8") as file:
                line = file.readline()
        except (OSError, UnicodeError) as problem:
            raise Usage("%s: %s" % (text[1:], problem)) from problem
    else:
        raise Usage("%s is a password: give it as %s=- on standard input or as %s=@FILE"
                    % (member.name, member.name, member.name))
    return line[:-1] if line.endswith("\n") else line


def _ask(name: str) -> str:
    import getpass
    return getpass.getpass(name + ": ")


def _object(action: Action, word: str) -> dict:
    value = _json(sys.stdin.read() if word == "-" else word)
    if not isinstance(value, dict):
        raise Usage("the JSON is no object")
    value.pop("action", None)
    for name, entry in value.items():
        member = action.member(name)
        if member.secret and word != "-":
            raise Usage("%s is a password: give the JSON on standard input, as -" % name)
        if action.kind == "read" and isinstance(entry, dict):
            value[name] = json.dumps(_with_times(entry, member.fields))  # parameters are texts
        _check(member, value[name])
    return _with_times(value, action.members)


def _with_times(value: dict, members: dict[str, Member]) -> dict:
    """An object with its dates converted to seconds."""
    return {name: _seconds(members[name], entry)
            if name in members and members[name].time and isinstance(entry, str) else entry
            for name, entry in value.items()}


def _json(text: str) -> Any:
    try:
        return json.loads(text)
    except ValueError as problem:
        raise Usage("no JSON: %s: %s" % (text[:40], problem)) from problem


def _check(member: Member, value: object) -> None:
    """Refuses a value of the wrong type, on which the program would end without an answer."""
    if not _fits(member.type, value):
        raise Usage("%s is of type %s" % (member.name, member.type))
    if isinstance(value, list) and not all(_fits(member.items, entry) for entry in value):
        raise Usage("%s is a list of type %s" % (member.name, member.items))


def _fits(kind: str, value: object) -> bool:
    if kind == "integer":
        return type(value) is int and LOWEST <= value <= HIGHEST
    return isinstance(value, {"boolean": bool, "string": str, "array": list, "object": dict}[kind])
