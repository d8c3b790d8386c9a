"""What the actions take and answer: actions.json, which is made from docs/openapi.yaml."""
import json


class Usage(Exception):
    """The command line asks for something that cannot be; nothing was sent."""


class Member:
    """One member of a body, or one parameter."""

    def __init__(self, about):
        self.name = about["name"]
        self.type = about["type"]
        self.items = about.get("items", "")
        self.required = about.get("required", False)
        self.default = about.get("default", "")
        self.text = about.get("text", "")
        self.secret = about.get("secret", False)
        self.mask = about.get("mask", "")
        self.parts = about.get("parts", [])


class Action:
    """One row of the reference."""

    def __init__(self, about):
        self.name = about["name"]
        self.kind = about["kind"]
        self.page = about["page"]
        self.summary = about["summary"]
        self.description = about.get("description", "")
        self.edits = about.get("edits", "")
        self.then_upload = about.get("then_upload", False)
        self.download = about.get("download", False)
        self.reasons = about.get("reasons", {})
        self.members = {row["name"]: Member(row) for row in about.get("members", [])}

    def member(self, name):
        """The member of a name; Usage when the action does not take it."""
        if name not in self.members:
            known = " ".join(self.members) or "nothing"
            raise Usage("%s takes no %s; it takes %s" % (self.name, name, known))
        return self.members[name]

    def reason(self, section, key):
        """What an errinfo means, "" when the reference does not say."""
        return self.reasons.get(section + "/" + key, "")


class Reference:
    """All actions by name, in the order of the document."""

    def __init__(self, path):
        with open(path, encoding="ascii") as file:
            self._rows = {row["name"]: row for row in json.load(file)}

    def names(self):
        """The actions that can be called by name."""
        return [name for name, row in self._rows.items() if row["kind"] != "upload"]

    def action(self, name):
        """The action of a name; Usage when there is none."""
        if name not in self._rows:
            raise Usage("no action %s; `mailvanectl help` lists them" % name)
        return Action(self._rows[name])

    def pages(self):
        """The saves of the pages that can be edited, by the page's name: that of its load."""
        return {row["edits"][len("load_"):]: name
                for name, row in self._rows.items() if "edits" in row}
