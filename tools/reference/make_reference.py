"""Writes the reference of the actions for mailvanectl, from the description of the API.

make_reference.py OPENAPI.YAML ACTIONS.JSON"""
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
        "text": one_line(schema.get("description", "")),
        "secret": schema.get("writeOnly", False),
        "mask": schema.get("x-mask", ""),
        "parts": sorted(schema.get("items", schema).get("properties", {})),
        "word": word(schema.get("items", schema)),
        "time": schema.get("x-time", ""),
        "fields": [member(field, about, False) for field, about in
                   schema.get("contentSchema", {}).get("properties", {}).items()],
    }
    return {"name": name, **{key: value for key, value in about.items() if value}}


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


def members(kind: str, operation: Node) -> list[Node]:
    if kind == openapi.UPLOAD:
        return []
    if kind == openapi.READ:
        return [parameter(entry) for entry in operation.get("parameters", [])
                if entry["in"] == "query"]
    schema = operation["requestBody"]["content"]["application/json"]["schema"]
    required = schema.get("required", [])
    return [member(name, about, name in required)
            for name, about in schema["properties"].items() if name != "action"]


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


def main(source: str, target: str) -> None:
    document = openapi.Document(source)
    actions = [action(*operation) for operation in document.operations()]
    with open(target, "w", encoding="ascii") as file:
        json.dump(actions, file, separators=(",", ":"))
        file.write("\n")


if __name__ == "__main__":
    main(*sys.argv[1:])
