"""Answers held against docs/openapi.yaml: what is not written there is a fault.

Stricter than the document's own language: an object has no member that is not named, and a password
is always its mask.
"""
import json
import os
import sys
import urllib.parse

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, TOP + "/tools/reference")

import openapi

# What a limit measures, for the values that it concerns, and what may not be true of it.
LIMITS = {"minimum": (int, lambda number: number, int.__lt__),
          "maximum": (int, lambda number: number, int.__gt__),
          "minLength": (str, len, int.__lt__), "maxLength": (str, len, int.__gt__),
          "x-max-bytes": (str, lambda text: len(text.encode()), int.__gt__)}
CHECKED = {"type", "const", "enum", "anyOf", "properties", "required", "items", "x-mask", *LIMITS}
SAID_ONLY = {"description", "default", "title", "format", "writeOnly", "contentMediaType",
             "contentSchema", "x-time", "x-word", "x-format", "x-choices", "x-text", "x-unit",
             "x-unit-title", "x-page", "x-group", "x-needs", "x-warn", "x-restarts", "x-since"}
TYPES = {"object": dict, "array": list, "string": str, "boolean": bool, "null": type(None)}


def faults(schema, value, where="answer"):
    """What is wrong with a value, one text each."""
    unknown = schema.keys() - CHECKED - SAID_ONLY
    if unknown:
        raise ValueError("nothing checks %s" % unknown)
    if "anyOf" in schema:
        return min((faults(one, value, where) for one in schema["anyOf"]), key=len)
    if "x-mask" in schema and value != schema["x-mask"]:
        return [where + " is a password"]
    for allowed in ([schema["const"]] if "const" in schema else [], schema.get("enum", [])):
        if allowed and not any(same(value, one) for one in allowed):
            return ["%s is %r, not %r" % (where, value, allowed)]
    if "type" in schema and not is_of(schema["type"], value):
        return ["%s is %r, not of type %s" % (where, value, schema["type"])]
    for name, (kind, measure, breaks) in LIMITS.items():
        if name in schema and type(value) is kind and breaks(measure(value), schema[name]):
            return ["%s is %r, its %s is %d" % (where, value, name, schema[name])]
    if isinstance(value, dict):
        return _member_faults(schema, value, where)
    if isinstance(value, list) and "items" in schema:
        return [fault for number, entry in enumerate(value)
                for fault in faults(schema["items"], entry, "%s[%d]" % (where, number))]
    return []


def is_of(kind, value):
    if kind == "integer":
        return type(value) is int
    return isinstance(value, TYPES[kind])


def same(value, wanted):
    return type(value) is type(wanted) and value == wanted


def _member_faults(schema, value, where):
    properties = schema.get("properties", {})
    found = ["%s lacks %s" % (where, name)
             for name in schema.get("required", []) if name not in value]
    for name, member in value.items():
        place = where + "." + name
        found += faults(properties[name], member, place) if name in properties else [
            place + " is not described"]
    return found


def answer_faults(operation, value):
    """What is wrong with a JSON answer. A failed one may hold members that were found before."""
    shapes = openapi.answer_schemas(operation)
    if not isinstance(value, dict) or value.get("success") is not False:
        return min((faults(shape, value) for shape in shapes), key=len)

    head = {name: value[name] for name in ("success", "errinfo") if name in value}
    failures = [shape for shape in shapes if openapi.constant(shape, "success") is False]
    found = min((faults(shape, head) for shape in failures), key=len,
                default=["no failure is described"])
    known = {}
    for shape in shapes:
        known.update(shape.get("properties", {}))
    rest = {name: member for name, member in value.items() if name not in head}
    return found + _member_faults({"properties": known}, rest, "answer")


class Contract:
    """The description, ready for the answers of a test."""

    def __init__(self):
        self.document = openapi.Document(TOP + "/docs/openapi.yaml")
        self.operations = {(kind, name): operation
                           for name, kind, operation in self.document.operations()}

    def check(self, request, answer):
        """Raises AssertionError for an answer that the description does not have. `request` is the
        path, the headers and the body."""
        path, headers, body = request
        if path.partition("?")[0] != "/mailvane.cgi":
            return
        kind = answer.headers.get("Content-Type", "")
        if answer.status != 200:
            if kind.startswith("application/json"):
                complain("a refusal", faults(self._refusal(), answer.json()), answer)
            return
        key = action_of(path, headers, body)
        if key not in self.operations:
            raise AssertionError("%s %s is not described: %r" % (*key, answer))
        complain(" ".join(key), self._judge(self.operations[key], answer), answer)

    def _refusal(self):
        content = self.document.root["components"]["responses"]["Refused"]["content"]
        return content["application/json"]["schema"]

    @staticmethod
    def _judge(operation, answer):
        described = operation["responses"]["200"]
        kind = answer.headers.get("Content-Type", "").partition(";")[0]
        if kind not in described["content"]:
            return ["the type %s is not described" % kind]
        if kind != "application/octet-stream":
            return answer_faults(operation, answer.json())
        name = answer.headers.get("Content-Disposition")
        return faults(described["headers"]["Content-Disposition"]["schema"], name, "name")


def complain(what, found, answer):
    """Raises AssertionError when something was found."""
    if found:
        raise AssertionError("%s: %s: %r" % (what, "; ".join(found), answer))


def action_of(path, headers, body):
    """Kind and name of the action that a request names."""
    kind = headers.get("Content-Type", "").partition(";")[0]
    if kind == "multipart/form-data":
        return openapi.UPLOAD, "upload"
    if kind == "application/json":
        # Some tests send bytes that are no UTF-8 on purpose; no action's name has any.
        return openapi.WRITE, json.loads(body.decode(errors="replace")).get("action", "")
    text = path.partition("?")[2]
    if kind == "application/x-www-form-urlencoded":
        text += "&" + body.decode(errors="replace")
    return openapi.READ, urllib.parse.parse_qs(text).get("action", ["load"])[0]
