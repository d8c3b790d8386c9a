"""Writes what mailvanectl knows of the actions, from the description of the API.

  make_reference.py OPENAPI.YAML ACTIONS.JSON
"""
import json
import sys

import openapi


def member(name, schema, required):
    """One member of a body or one parameter, without what says nothing. A member of a body that is
    left out keeps what is stored, so that only parameters have a default."""
    about = {
        "type": schema.get("type", "string"),
        "items": schema.get("items", {}).get("type"),
        "required": required,
        "text": one_line(schema.get("description", "")),
        "secret": schema.get("writeOnly", False),
        "mask": schema.get("x-mask", ""),
        "parts": sorted(schema.get("items", schema).get("properties", {})),
    }
    return {"name": name, **{key: value for key, value in about.items() if value}}


def parameter(entry):
    """One parameter of a query."""
    text = {"description": entry.get("description", "")}
    about = member(entry["name"], {**entry["schema"], **text}, entry.get("required", False))
    default = entry["schema"].get("default", "")
    return {**about, "default": str(default)} if default != "" else about


def one_line(text):
    return " ".join(text.split())


def members(kind, operation):
    if kind == openapi.UPLOAD:
        return []
    if kind == openapi.READ:
        return [parameter(entry) for entry in operation.get("parameters", [])
                if entry["in"] == "query"]
    schema = operation["requestBody"]["content"]["application/json"]["schema"]
    required = schema.get("required", [])
    return [member(name, about, name in required)
            for name, about in schema["properties"].items() if name != "action"]


def reasons(operation):
    """What each errinfo means, by section and key."""
    found = {}
    for schema in openapi.answer_schemas(operation):
        section = openapi.constant(schema, "errinfo", "sec")
        if section:
            key = schema["properties"]["errinfo"]["properties"]["key"]
            for one in key.get("enum", [key.get("const")]):
                found[section + "/" + one] = one_line(schema["description"])
    return found


def action(name, kind, operation):
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
    }
    return {"name": name, **{key: value for key, value in about.items() if value}}


def main(source, target):
    document = openapi.Document(source)
    actions = [action(*operation) for operation in document.operations()]
    with open(target, "w", encoding="ascii") as file:
        json.dump(actions, file, separators=(",", ":"))
        file.write("\n")


if __name__ == "__main__":
    main(*sys.argv[1:])
