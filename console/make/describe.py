"""What the console knows of the API: the descriptions of its programs, made small.

Used by build.py; reads them with the parser that mailvanectl's reference is made with."""
import os
import sys
from typing import Any

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../tools/reference"))

import lists
import openapi
from openapi import Node

# The documents, each of one program; the settings stand beside them.
DOCUMENTS = ("openapi.yaml", "upkeep.yaml")
USUAL_PROGRAM = "/mailvane.cgi"
SENTENCES = "settings/help/"

# Members of a schema that a form needs, by the names that they have in the console.
KEPT = {
    "type": "type", "minimum": "min", "maximum": "max", "minLength": "minLength",
    "maxLength": "maxLength", "pattern": "pattern", "x-max-bytes": "maxBytes", "x-format": "format", "x-unit": "unit",
    "x-group": "group", "x-needs": "needs", "x-suits": "suits", "x-kind": "kind",
    "x-restarts": "restarts", "writeOnly": "secret", "x-mask": "mask",
}


def description(folder: str) -> Node:
    """Actions, pages with their fields, lists, and forms of calls, of the documents in a folder."""
    actions: Node = {}
    pages: Node = {}
    found: Node = {}
    forms: Node = {}
    loads: dict[str, str] = {}
    for path in DOCUMENTS:
        document = openapi.Document(os.path.join(folder, path))
        programs = {operation["operationId"]: address.partition("?")[0].partition("#")[0]
                    for address, item in document.root["paths"].items()
                    for operation in item.values()}
        for name, kind, operation in document.operations():
            actions[name] = action(kind, operation, programs[name])
            if kind == openapi.READ and "x-page" in operation:
                loads[name] = operation["x-page"]
            page = operation.get("x-page") or loads.get(operation.get("x-edits", ""))
            if page and kind == openapi.WRITE:
                load = next(load for load, filled in loads.items() if filled == page)
                pages[page] = form(page, load, name, operation)
            elif programs[name] != USUAL_PROGRAM and kind == openapi.WRITE:
                forms[name] = titled(operation)
        found.update(lists.described(document, field))
    return {"actions": actions, "pages": pages, "lists": found,
            "forms": {name: fields for name, fields in forms.items() if fields}}


def action(kind: str, operation: Node, program: str) -> Node:
    """How an action is called."""
    parameters = [entry["name"] for entry in operation.get("parameters", [])]
    about = {
        "kind": kind if kind != openapi.READ else None,
        "program": program if program != USUAL_PROGRAM else None,
        "member": openapi.PROGRAMS[program] if program != USUAL_PROGRAM else None,
        "proof": "X-Mailvane" in parameters,
        "restarts": operation.get("x-restarts"),
    }
    return {key: value for key, value in about.items() if value}


def body(operation: Node) -> Node:
    schema: Node = operation["requestBody"]["content"]["application/json"]["schema"]
    return schema


def titled(operation: Node) -> Node:
    """The members of a body that have titles, as fields of a form."""
    return {name: field(name, about) for name, about in body(operation)["properties"].items() if "x-text" in about}


def form(page: str, load: str, save: str, operation: Node) -> Node:
    """A page of settings: its two actions, what a save has to have, its fields in their order."""
    schema = body(operation)
    members = {name: about for name, about in schema["properties"].items() if name != "action"}
    # A page without settings of its own shows all that its save takes.
    own = {name: about for name, about in members.items()
           if about.get("x-page", page if "x-since" not in about else "") == page}
    return {
        "load": load,
        "save": save,
        "required": [name for name in schema["required"] if name != "action"],
        "fields": {name: field(name, about) for name, about in own.items()},
        # Settings that others of this page need, and the page that they stand on.
        "elsewhere": {name: {**field(name, members[name]), "page": members[name]["x-page"]}
                      for about in own.values() for name in about.get("x-needs", {})
                      if name in members and name not in own},
    }


def field(name: str, schema: Node) -> Node:
    """A field of a form: what it takes, and where its texts stand in the catalogue."""
    setting = "x-since" in schema
    about: dict[str, Any] = {here: schema[there] for there, here in KEPT.items() if there in schema}
    about["title"] = "settings/titles/" + name if setting else schema.get("x-text", name)
    if setting:
        about["help"] = SENTENCES + name
    if "x-warn" in schema:
        about["warn"] = "settings/warnings/" + name
    if "x-choices" in schema:
        about["choices"] = [[one["value"], one["text"]] for one in schema["x-choices"]]
    return about
