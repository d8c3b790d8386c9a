"""The reference: what the actions accept and answer, from actions.json, made from
docs/openapi.yaml."""
import json
from collections.abc import Iterable

from mailvane.common.errors import Usage


def did_you_mean(word: str, known: Iterable[str]) -> str:
    """The known words most similar to an unknown one, as part of a sentence."""
    import difflib
    by_form = {_form(name): name for name in known}
    wanted = _form(word)
    like = [form for form in by_form if wanted and (wanted in form or form in wanted)]
    like += [form for form in difflib.get_close_matches(wanted, by_form, 2) if form not in like]
    return " (did you mean %s?)" % " or ".join(by_form[form] for form in like[:3]) if like else ""


def _form(name: str) -> str:
    return name.lower().replace("_", "").replace("-", "")


class Member:
    """A member of a body, or a parameter."""

    def __init__(self, about: dict) -> None:
        self.name = about["name"]
        self.type = about["type"]
        self.items = about.get("items", "")
        self.required = about.get("required", False)
        self.default = about.get("default", "")
        self.text = about.get("text", "")
        self.secret = about.get("secret", False)
        self.mask = about.get("mask", "")
        self.parts = about.get("parts", [])
        self.word = about.get("word", "")
        self.time = about.get("time", "")
        self.fields = {row["name"]: Member(row) for row in about.get("fields", [])}


class Action:
    """An action of the reference."""

    def __init__(self, about: dict) -> None:
        self.name = about["name"]
        self.kind = about["kind"]
        self.page = about["page"]
        self.summary = about["summary"]
        self.description = about.get("description", "")
        self.edits = about.get("edits", "")
        self.then_upload = about.get("then_upload", False)
        self.download = about.get("download", False)
        self.reasons = about.get("reasons", {})
        self.examples = about.get("examples", [])
        self.asks = about.get("asks", "")
        self.markup = about.get("markup", [])
        self.mask = about.get("mask", "")
        self.members = {row["name"]: Member(row) for row in about.get("members", [])}

    def member(self, name: str) -> Member:
        """The member of this name; Usage when the action has none."""
        if name not in self.members:
            known = " ".join(self.members) or "nothing"
            raise Usage("%s takes no %s%s; it takes %s" % (
                self.name, name, did_you_mean(name, self.members), known))
        return self.members[name]

    def holder(self, name: str) -> Member | None:
        """The member that is an object with a field of this name, unless the action has a member of
        this name itself."""
        holders = [member for member in self.members.values() if name in member.fields]
        return holders[0] if holders and name not in self.members else None

    def reason(self, section: str, key: str) -> str:
        """The meaning of an errinfo; "" when the reference does not have it."""
        return self.reasons.get(section + "/" + key, "")


class Reference:
    """All actions by name, in the order of the document."""

    def __init__(self, path: str) -> None:
        with open(path, encoding="ascii") as file:
            self._rows = {row["name"]: row for row in json.load(file)}

    def names(self) -> list[str]:
        """The names of all actions except uploads."""
        return [name for name, row in self._rows.items() if row["kind"] != "upload"]

    def action(self, name: str) -> Action:
        """The action of this name; Usage when there is none."""
        if name not in self._rows:
            raise Usage("no action %s; `mailvanectl help` lists them" % name)
        return Action(self._rows[name])

    def pages(self) -> dict[str, str]:
        """The save action of each page that can be edited, by the page's name: "smtp" for
        load_smtp."""
        return {row["edits"][len("load_"):]: name
                for name, row in self._rows.items() if "edits" in row}
