"""Answers held against docs/openapi.yaml and docs/upkeep.yaml: what is not written there is a fault.

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
             "x-unit-title", "x-page", "x-group", "x-needs", "x-suits", "x-kind", "x-warn",
             "x-restarts", "x-since"}
REASONS, LONGEST_REASONS = "X-Mailvane-Reason", 2048
NAMED = ("setting", "list", "line", "service")  # what a reason may be about, one at a time
ANY = "any"
PROGRAM = "mailvane"  # the service that stands for nothing better
TYPES = {"object": dict, "array": list, "string": str, "boolean": bool, "null": type(None)}

# Of a name that is in none of the tables of calls.
UNKNOWN_CALL = [{"setting": "call", "code": "missing"}]


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


def has_failed(value):
    return isinstance(value, dict) and ("errinfo" in value or value.get("success") is False)


def header_faults(header, causes):
    """What is wrong with the header that tells reasons; `causes` are those that may be told."""
    if len(header) > LONGEST_REASONS or not header.isascii() or not header.isprintable():
        return ["the reasons are too long, or no line of ASCII"]
    found = []
    for entry in json.loads(header):
        kinds = [kind for kind in NAMED if kind in entry]
        if len(kinds) != 1 or entry.keys() - {kinds[0], "code"}:
            return ["a reason is %r" % entry]
        kind, name = kinds[0], entry[kinds[0]]
        known = ("",) if kind == "line" else (name, name if name == PROGRAM else ANY)
        if not any((kind, one, entry["code"]) in causes for one in known):
            found.append("the reason %r is not described" % entry)
    return found


class Contract:
    """The description of one program, ready for the answers of a test."""

    def __init__(self, name):
        self.document = openapi.Document("%s/docs/%s.yaml" % (TOP, name))
        self.operations = {(kind, name): operation
                           for name, kind, operation in self.document.operations()}

    def check(self, request, answer):
        """Raises AssertionError for an answer that the description does not have. `request` is the
        path, the headers and the body."""
        path, headers, body = request
        kind = answer.headers.get("Content-Type", "")
        if answer.status != 200:
            if kind.startswith("application/json"):
                self._check_refusal(answer)
            return
        key = action_of(path, headers, body)
        if key not in self.operations:
            if json.loads(answer.headers.get(REASONS, "null")) == UNKNOWN_CALL:
                return
            raise AssertionError("%s %s is not described: %r" % (*key, answer))
        complain(" ".join(key), self._judge(self.operations[key], answer), answer)

    def causes(self, operation):
        """Why an operation can refuse: what that names (a kind, a name), and the code."""
        groups = self.document.root["components"]["x-refusals"]
        found = set()
        for one in operation["x-refusals"]:
            for kind, codes in (groups[one] if isinstance(one, str) else one).items():
                for name, list_of in ({"": codes} if kind == "line" else codes).items():
                    found.update((kind, name, code) for code in list_of)
        return found

    def _check_refusal(self, answer):
        schema = self.document.root["components"]["schemas"]["Refused"]
        refusal = answer.json()
        reason = ("service", "gate", refusal.get("error"))
        complain("a refusal", faults(schema, refusal) + header_faults(
            answer.headers.get(REASONS, ""), {reason}), answer)

    def _judge(self, operation, answer):
        described = operation["responses"]["200"]
        kind = answer.headers.get("Content-Type", "").partition(";")[0]
        if kind not in described["content"]:
            return ["the type %s is not described" % kind]
        if kind != "application/octet-stream":
            return answer_faults(operation, answer.json()) + self._reason_faults(operation, answer)
        name = answer.headers.get("Content-Disposition")
        return faults(described["headers"]["Content-Disposition"]["schema"], name, "name")

    def _reason_faults(self, operation, answer):
        header = answer.headers.get(REASONS)
        if header is None:
            return ["it does not say why"] if has_failed(answer.json()) else []
        is_upload = "multipart/form-data" in operation.get("requestBody", {}).get("content", {})
        if not has_failed(answer.json()) and not is_upload:
            return ["it says why, and has not failed"]
        return header_faults(header, self.causes(operation))


def by_address():
    """The descriptions by the addresses of their programs."""
    return {"/mailvane.cgi": Contract("openapi"), "/upkeep.cgi": Contract("upkeep")}


def complain(what, found, answer):
    """Raises AssertionError when something was found."""
    if found:
        raise AssertionError("%s: %s: %r" % (what, "; ".join(found), answer))


def action_of(path, headers, body):
    """Kind and name of the action or call that a request names."""
    address, _, text = path.partition("?")
    member = openapi.PROGRAMS[address]
    kind = headers.get("Content-Type", "").partition(";")[0]
    if kind == "multipart/form-data":
        return openapi.UPLOAD, "upload"
    if kind == "application/json":
        # Some tests send bytes that are no UTF-8 on purpose; no action's name has any.
        return openapi.WRITE, json.loads(body.decode(errors="replace")).get(member, "")
    if kind == "application/x-www-form-urlencoded":
        text += "&" + body.decode(errors="replace")
    return openapi.READ, urllib.parse.parse_qs(text).get(member, ["load"])[0]
