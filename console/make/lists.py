"""What the console knows of the lists of the API: their columns, the form of an entry, and how each
change is asked for. Whatever a change calls it, a member has the name that it has in a row."""
from typing import Any, Callable

import openapi
from openapi import Node

Describe = Callable[[str, Node], Node]  # a member's name and schema, as a field of a form

# How the members of a body stand that come from several rows, or from a part of one.
OBJECTS, TEXTS, OBJECT = "objects", "texts", "object"
VERBS = ("add", "edit", "delete", "import", "export")
OF_FILES = ("import", "export")  # have fields that are none of a row
# Members of a field that name others, or say what goes with their values.
NAMING = ("needs", "suits")


def described(document: openapi.Document, describe: Describe) -> Node:
    """The lists that have a page of their own, by its name."""
    operations = {name: operation for name, _, operation in document.operations()}
    return {operation["x-page"]: listing(name, operation, operations, describe)
            for name, operation in operations.items()
            if "x-page" in operation and {"add", "edit"} & operation.get("x-list", {}).keys()}


def listing(load: str, operation: Node, operations: Node, describe: Describe) -> Node:
    about = operation["x-list"]
    parameters = {one["name"]: one["schema"] for one in operation.get("parameters", [])}
    changes = {verb: change(about[verb], operations[about[verb]], describe) for verb in VERBS if verb in about}
    found: Node = {
        "load": load,
        "rows": about["rows"],
        "key": about["key"],
        "columns": [column["member"] for column in about["columns"]],
        "searched": [column["member"] for column in about["columns"] if column["search"]],
        "fields": fields(operation, about, changes, describe),
        "search": next((name for name in ("query", "search_key") if name in parameters), None),
        "paged": "start" in parameters,
        "tabs": about.get("tabs"),
        "apply": about.get("apply"),
        **{verb: {key: value for key, value in made.items() if key != "fields" or verb in OF_FILES}
           for verb, made in changes.items()},
    }
    return {key: value for key, value in found.items() if value is not None}


def fields(operation: Node, about: Node, changes: Node, describe: Describe) -> Node:
    """The members of a row, as fields: as a change takes them, else as they are answered."""
    page = openapi.answer_schemas(operation)[0]
    rows = page["properties"][about["rows"]]["items"]["properties"]
    taken = {**changes.get("edit", {}).get("fields", {}), **changes.get("add", {}).get("fields", {})}
    return {column["member"]: {**taken.get(column["member"], describe(column["member"], rows[column["member"]])),
                               "title": column["text"]}
            for column in about["columns"]}


def change(action: str, operation: Node, describe: Describe) -> Node:
    """An action, where its members come from, and the fields that they are in a form."""
    source, old = operation.get("x-from-row", {}), operation.get("x-old", {})
    body = members(operation)
    made: dict[str, Any] = {
        "action": action,
        "from": source,
        "old": old or None,
        "shapes": shapes(body, [*source, *old]) or None,
        "lines": operation.get("x-lines"),
        "required": [source[name] for name in required(operation) if name in source] or None,
        "fields": named_as_in_rows(source, {path: describe(path, part(body, path)) for path in source
                                            if "." not in path}),
    }
    return {key: value for key, value in made.items() if value is not None}


def members(operation: Node) -> Node:
    """The schemas of what a request can hold."""
    if "requestBody" not in operation:
        return {one["name"]: one["schema"] for one in operation.get("parameters", [])}
    schema: Node = operation["requestBody"]["content"]["application/json"]["schema"]
    return dict(schema["properties"])


def required(operation: Node) -> list[str]:
    if "requestBody" not in operation:
        return []
    schema: Node = operation["requestBody"]["content"]["application/json"]["schema"]
    return list(schema["required"])


def part(body: Node, path: str) -> Node:
    """The schema of MEMBER or MEMBER.PART; of an entry where the member is a list."""
    name, _, inner = path.partition(".")
    schema: Node = body[name].get("items", body[name])
    return schema["properties"][inner] if inner else schema


def shapes(body: Node, paths: list[str]) -> dict[str, str]:
    """How the members stand that are more than a value."""
    found = {}
    for name, _, inner in (path.partition(".") for path in paths):
        if body[name].get("type") == "array":
            found[name] = OBJECTS if inner else TEXTS
        elif inner:
            found[name] = OBJECT
    return found


def named_as_in_rows(source: dict[str, str], found: dict[str, Node]) -> Node:
    """Fields with the names that they, and others that they speak of, have in a row."""
    for about in found.values():
        for key in NAMING:
            if key in about:
                about[key] = {source[name]: value for name, value in about[key].items()}
        if "kind" in about:
            about["kind"] = source[about["kind"]]
    return {source[path]: about for path, about in found.items()}
