"""Loads docs/openapi.yaml or docs/upkeep.yaml as plain data, with every reference and every allOf
resolved.

Used by the build of the package and by the tests; needs python3-yaml."""
import os
from collections.abc import Iterator
from typing import Any

import yaml

READ, WRITE, UPLOAD = "read", "write", "upload"

# The programs by their addresses, and what names an action or a call in a request to each.
PROGRAMS = {"/mailvane.cgi": "action", "/upkeep.cgi": "call"}

Node = dict[str, Any]  # an object of the document: a schema, an operation


class Document:
    """A document of one or more files."""

    def __init__(self, path: str) -> None:
        self._files: dict[str, Any] = {}
        self.references: set[str] = set()  # every $ref as written, to find unused parts
        self._top = os.path.abspath(path)
        self.raw = self._file(self._top)
        self.root = self._expand(self.raw, self._top)

    def operations(self) -> Iterator[tuple[str, str, Node]]:
        """Triples of name, kind and operation, in the order of the document."""
        for path, item in self.root["paths"].items():
            for method, operation in item.items():
                name = operation["operationId"]
                kind = READ if method == "get" else UPLOAD if name == "upload" else WRITE
                possible = ["%s?%s=%s" % (address, member, name) if kind == READ else
                            "%s#%s" % (address, name) for address, member in PROGRAMS.items()]
                if path not in possible:
                    raise ValueError("%s stands under %s" % (name, path))
                yield name, kind, operation

    def _file(self, path: str) -> Any:
        if path not in self._files:
            loader = getattr(yaml, "CSafeLoader", yaml.SafeLoader)
            with open(path, encoding="utf-8") as file:
                self._files[path] = yaml.load(file, loader)
        return self._files[path]

    def _expand(self, node: Any, file: str) -> Any:
        if isinstance(node, list):
            return [self._expand(entry, file) for entry in node]
        if not isinstance(node, dict):
            return node

        own = {key: self._expand(value, file) for key, value in node.items()
               if key not in ("$ref", "allOf")}
        parts = self._expand(node.get("allOf", []), file)
        if "$ref" in node:
            parts.append(self._target(node["$ref"], file))
        for part in parts:
            own = merged(part, own)
        return own

    def _target(self, reference: str, file: str) -> Any:
        self.references.add(reference)
        name, _, pointer = reference.partition("#")
        if name:
            file = os.path.join(os.path.dirname(file), name)
        node = self._file(file)
        for key in pointer.strip("/").split("/"):
            if key not in node:
                raise ValueError("nothing stands at " + reference)
            node = node[key]
        return self._expand(node, file)


def merged(below: Node, above: Node) -> Node:
    """The schema that requires what both require; for a key of both, that of `above`."""
    result = {**below, **above}
    if "required" in below and "required" in above:
        result["required"] = list(dict.fromkeys(below["required"] + above["required"]))
    if "properties" in below and "properties" in above:
        result["properties"] = dict(below["properties"])
        for name, schema in above["properties"].items():
            result["properties"][name] = merged(below["properties"].get(name, {}), schema)
    return result


def answer_schemas(operation: Node) -> list[Node]:
    """The schemas of an operation's answer; none for a download alone."""
    for media in operation["responses"]["200"]["content"].values():
        if "schema" in media:
            return media["schema"].get("anyOf", [media["schema"]])
    return []


def constant(schema: Node, *path: str) -> Any:
    """The only value that a member of a schema can have; None when there are several."""
    for name in path:
        schema = schema.get("properties", {}).get(name, {})
    return schema.get("const")
