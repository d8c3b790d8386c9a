"""Writes the reference of the actions for mailvanectl, from the description of the API, and that of
the settings, which only the help reads.

make_reference.py OPENAPI.YAML ACTIONS.JSON SETTINGS.JSON"""
import json
import sys
from typing import Any

import openapi
from openapi import Node


def member(name: str, schema: Node, required: bool) -> Node:
    """A member of a body or a parameter, without empty values. Only parameters have a default: a
    member that is left out keeps what is stored."""
    about = {
        "type": schema.get("type", "string"),
        "items": schema.get("items", {}).get("type"),
        "required": required,
        "text": schema["title"] if is_setting(schema) else one_line(schema.get("description", "")),
        "secret": schema.get("writeOnly", False),
        "mask": schema.get("x-mask", ""),
        "parts": sorted(schema.get("items", schema).get("properties", {})),
        "word": word(schema.get("items", schema)),
        "time": schema.get("x-time", ""),
        "fields": [member(field, about, False) for field, about in
                   schema.get("contentSchema", {}).get("properties", {}).items()],
    }
    return {"name": name, **{key: value for key, value in about.items() if value}}


def is_setting(schema: Node) -> bool:
    return "x-since" in schema


def setting(schema: Node) -> Node:
    """All that people are told about a setting."""
    about = {
        "title": schema["title"],
        "help": schema["description"],
        "value": bounds(schema),
        "default": {True: "yes", False: "no"}.get(schema["default"], str(schema["default"])),
        "choices": {one["value"]: one["title"] for one in schema.get("x-choices", [])},
        "page": schema["x-page"],
        "needs": {name: {True: "yes", False: "no"}.get(value, value)
                  for name, value in schema.get("x-needs", {}).items()},
        "warning": schema.get("x-warn", ""),
        "restarts": schema["x-restarts"],
        "since": schema["x-since"],
    }
    return {key: value for key, value in about.items() if value}


def bounds(schema: Node) -> str:
    """What values a setting takes, in words."""
    if "x-choices" in schema:
        return "one of " + " ".join(one["value"] for one in schema["x-choices"])
    if schema["type"] == "boolean":
        return "yes or no"
    if schema["type"] == "integer":
        unit = " (%s)" % schema["x-unit-title"] if "x-unit-title" in schema else ""
        return "%d to %d%s" % (schema["minimum"], schema["maximum"], unit)
    return "text of %d to %d bytes" % (schema.get("minLength", 0), schema["x-max-bytes"])


def settings(document: openapi.Document) -> Node:
    """The settings by name, in the order of the document."""
    found = {}
    for _, kind, operation in document.operations():
        for name, about in body_members(operation).items() if kind == openapi.WRITE else ():
            if is_setting(about):
                found[name] = setting(about)
    return found


def word(schema: Node) -> str:
    """How one word stands for an object: the name of its only member if that is a text, else what
    the schema says."""
    properties = schema.get("properties", {})
    only = list(properties) if len(properties) == 1 else []
    if only and properties[only[0]].get("type") == "string":
        return only[0]
    return str(schema.get("x-word", ""))


def parameter(entry: Node) -> Node:
    """One parameter of a query."""
    text = {"description": entry.get("description", "")}
    about = member(entry["name"], {**entry["schema"], **text}, entry.get("required", False))
    default = entry["schema"].get("default", "")
    return {**about, "default": str(default)} if default != "" else about


def one_line(text: str) -> str:
    return " ".join(text.split())


def body_members(operation: Node) -> Node:
    schema = operation["requestBody"]["content"]["application/json"]["schema"]
    return {name: about for name, about in schema["properties"].items() if name != "action"}


def members(kind: str, operation: Node) -> list[Node]:
    if kind == openapi.UPLOAD:
        return []
    if kind == openapi.READ:
        return [parameter(entry) for entry in operation.get("parameters", [])
                if entry["in"] == "query"]
    schema = operation["requestBody"]["content"]["application/json"]["schema"]
    required = schema.get("required", [])
    return [member(name, about, name in required)
            for name, about in body_members(operation).items()]


def reasons(operation: Node) -> dict[str, str]:
    """The meaning of each errinfo, by section and key."""
    found = {}
    for schema in openapi.answer_schemas(operation):
        section = openapi.constant(schema, "errinfo", "sec")
        if section:
            key = schema["properties"]["errinfo"]["properties"]["key"]
            for one in key.get("enum", [key.get("const")]):
                found[section + "/" + one] = one_line(schema["description"])
    return found


def shown(node: Any, found: Node) -> Node:
    """Collects the members of an answer that contain markup, and the masks of passwords."""
    for child in node if isinstance(node, list) else []:
        shown(child, found)
    for name, child in node.items() if isinstance(node, dict) else []:
        if isinstance(child, dict):
            if child.get("contentMediaType") == "text/html":
                found["markup"].append(name)
            found["mask"] = found["mask"] or child.get("x-mask", "")
        shown(child, found)
    return found


def examples(name: str, operation: Node) -> list[str]:
    """Command lines after `mailvanectl`: the examples of the document, or, for an action without
    required members, its name."""
    return [" ".join([name, words]).rstrip() for words in operation.get("x-examples", [""])]


def action(name: str, kind: str, operation: Node) -> Node:
    about = {
        "kind": kind,
        "page": operation["tags"][0],
        "summary": operation["summary"],
        "description": operation.get("description", "").strip(),
        "edits": operation.get("x-edits"),
        "then_upload": operation.get("x-then-upload"),
        "download": "application/octet-stream" in operation["responses"]["200"]["content"],
        "members": members(kind, operation),
        "reasons": reasons(operation),
        "examples": examples(name, operation) if kind != openapi.UPLOAD else [],
        "asks": operation.get("x-asks"),
        **shown(openapi.answer_schemas(operation), {"markup": [], "mask": ""}),
    }
    return {"name": name, **{key: value for key, value in about.items() if value}}


def write(target: str, value: Any) -> None:
    with open(target, "w", encoding="ascii") as file:
        json.dump(value, file, separators=(",", ":"))
        file.write("\n")


def main(source: str, actions: str, about_settings: str) -> None:
    document = openapi.Document(source)
    write(actions, [action(*operation) for operation in document.operations()])
    write(about_settings, settings(document))


if __name__ == "__main__":
    main(*sys.argv[1:])
