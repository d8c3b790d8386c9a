"""mailvanectl help [NAME]: what there is, what an action or a subcommand takes, what a setting is."""
from collections.abc import Iterator

from mailvane.common.reference import Action, Member
from mailvane.ctl import alias_members, answers, pages
from mailvane.ctl.session import SUBCOMMANDS, Session


HEAD = """\
usage: mailvanectl [OPTION]... ACTION [name=value… | JSON | -] [FILE]
       mailvanectl [OPTION]... SUBCOMMAND [WORD]...

  --as USER       in whose name; by default the first administrator's
  --raw           the answer as it came
  -o, --output FILE  where a download goes; by default to standard output
  --json, --yes, --check ...  of single subcommands; see `help NAME`

A JSON object may stand for name=value, and "-" for one on standard input. A list takes its name
several times, or a JSON list. A password is given as name=- on standard input or as name=@FILE.
Exit status: 0 done, 1 refused, 2 wrong usage, 3 no answer."""


def run(session: Session, words: list[str]) -> int:
    """Prints the help."""
    if not words:
        print("\n".join([HEAD, "", "Subcommands", *_subcommands(), *_actions(session)]))
        return answers.DONE
    module = session.subcommand(words[0])
    settings = session.settings()
    if module:
        print((module.__doc__ or "").strip())
    elif words[0] in settings:
        print(about_setting(words[0], settings[words[0]]))
    else:
        print(about_action(session.action(words[0], settings)))
    return answers.DONE


def about_setting(name: str, about: dict) -> str:
    """The help for a setting, from the reference."""
    value = about["value"] + (", default %s" % about["default"] if "default" in about else "")
    facts = [
        ("value", value),
        *(("  " + choice, title) for choice, title in about.get("choices", {}).items()),
        ("changed by", "mailvanectl edit %s %s=…" % (about["page"], name)),
        *(("only with", "%s %s" % pair) for pair in about.get("needs", {}).items()),
        ("restarts", " ".join(about["restarts"])),
        ("since", about["since"]),
    ]
    lines = ["%s: %s" % (name, about["title"]), "", about["help"], ""]
    lines += ["  %-12s %s" % fact for fact in facts]
    return "\n".join(lines + ["", about["warning"]] if "warning" in about else lines)


def about_action(action: Action) -> str:
    """The help for an action, from the reference."""
    lines = ["%s: %s" % (action.name, action.summary)]
    if action.description:
        lines += ["", action.description]
    if action.members:
        lines += ["", "name=value"]
    for member in action.members.values():
        lines.append("  %-30s %s" % (member.name, _about(member)))
        lines += ["    %-28s %s" % (field.name, _about(field)) for field in
                  member.fields.values()]
    if action.then_upload:
        lines += ["", "A FILE behind them is uploaded at once."]
    if action.download:
        lines += ["", "The answer is a file."]
    if action.examples:
        lines += ["", "For example"] + ["  mailvanectl " + words for words in action.examples]
    if action.reasons:
        lines += ["", "Refused with"]
        lines += ["  %-30s %s" % pair for pair in action.reasons.items()]
    return "\n".join(lines)


KINDS = {"integer": "number", "boolean": "yes/no", "string": "text", "array": "list",
         "object": "JSON"}


def _about(member: Member) -> str:
    if member.name == pages.LIMIT:
        return "number, default %d: rows of the page" % pages.USUAL
    notes = [KINDS[member.type]]
    if member.parts:
        notes[0] += " of {%s}" % ", ".join(member.parts)
    if member.word:
        notes[0] += ", or " + (alias_members.FORMS if member.word == alias_members.KIND else
                               "the %s alone" % member.word)
    if member.time:
        notes[0] = "date, or seconds since 1970"
    notes += [note for note, holds in (("needed", member.required), ("password", member.secret),
                                       ("default " + member.default, member.default)) if holds]
    return ", ".join(notes) + (": " + member.text if member.text else "")


def _subcommands() -> list[str]:
    return ["  %-30s %s" % ("%s %s" % (name, words), summary)
            for name, (_, words, summary) in SUBCOMMANDS.items()]


def _actions(session: Session) -> Iterator[str]:
    page = ""
    for name in session.reference.names():
        action = session.reference.action(name)
        if action.page != page:
            page = action.page
            yield "\n" + page
        yield "  %-30s %s" % (name, action.summary)
