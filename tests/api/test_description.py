"""docs/openapi.yaml and docs/upkeep.yaml against the programs: actions, calls, settings, answers of
the action tests.

  test_description.py DESCRIBE_SETTINGS ACTION_TESTS DOCUMENT_TOOL
"""
import collections
import json
import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, TOP + "/tests/e2e")

import contract

CONTRACT = contract.Contract("openapi")
CALLS = contract.Contract("upkeep")

# Account types that no setting can have; the program is tried with them all the same.
UNKNOWN_SOURCE = re.compile(r'"account_type":"(|LDAP|other)"')


def text_of(path):
    with open(os.path.join(TOP, path), encoding="utf-8") as file:
        return file.read()


CODES = set(re.findall(r'\{ReasonCode::\w+, "(\w+)"\}',
                       text_of("host/libhaldcore/reason_code.cpp")))


def members_of(operation):
    """The names of all that a request can hold, also within its lists and objects."""
    found = {entry["name"] for entry in operation.get("parameters", [])}

    def add(schema):
        for name, about in schema.get("properties", {}).items():
            found.add(name)
            add(about.get("items", about))
    for media in operation.get("requestBody", {}).get("content", {}).values():
        add(media["schema"])
    return found


MEMBERS = {member for operation in CONTRACT.operations.values() for member in members_of(operation)}

SETTINGS = {member for operation in CONTRACT.operations.values() if "x-edits" in operation
            for member in members_of(operation)}


def every_operation():
    """Triples of the description, name and operation of all actions and calls."""
    for described in (CONTRACT, CALLS):
        for (_, name), operation in described.operations.items():
            yield described, name, operation


def names(kind, described=CONTRACT):
    return [name for known, name in described.operations if known == kind]


class Actions(unittest.TestCase):
    def test_the_document_has_the_actions_of_the_program(self):
        for kind, table in (("read", "Read"), ("write", "Write")):
            rows = re.search(r"k%sTable\[\] = \{(.*?)\};" % table,
                             text_of("frame/action_tables.cpp"), re.S)[1]
            self.assertEqual(sorted(re.findall(r'\{"(\w+)"', rows)), sorted(names(kind)))

    def test_reads_that_change_something_say_that_they_want_proof(self):
        configured = re.search(r'state_changing_actions="(.*)"', text_of("packaging/web.conf"))[1]
        described = [name for (kind, name), operation in CONTRACT.operations.items()
                     if kind == "read" and any(parameter["name"] == "X-Mailvane"
                                               for parameter in operation.get("parameters", []))]
        self.assertEqual(sorted(described), sorted(configured.split()))

    def test_nothing_is_described_that_nothing_refers_to(self):
        used = CONTRACT.document.references | {
            name.replace("openapi.yaml", "") for name in CALLS.document.references}
        for document in (CONTRACT.document, CALLS.document):
            for kind in ("parameters", "responses", "schemas"):
                for name in document.raw["components"].get(kind, {}):
                    self.assertIn("#/components/%s/%s" % (kind, name), used)

    def test_what_a_save_must_not_lack_is_loaded(self):
        for (kind, name), operation in CONTRACT.operations.items():
            if "x-edits" in operation:
                body = operation["requestBody"]["content"]["application/json"]["schema"]
                page = contract.openapi.answer_schemas(
                    CONTRACT.operations["read", operation["x-edits"]])[0]
                self.assertLessEqual(set(body["required"]) - {"action"}, set(page["required"]),
                                     name)


class Calls(unittest.TestCase):
    def test_the_document_has_the_calls_of_the_program(self):
        for kind, table in (("read", "Reads"), ("write", "Changes")):
            rows = re.search(r"k%s\[\] = \{(.*?)\};" % table,
                             text_of("upkeep/call_table.cpp"), re.S)[1]
            self.assertEqual(sorted(re.findall(r'\{"(\w+)"', rows)), sorted(names(kind, CALLS)))


class Refusals(unittest.TestCase):
    def test_nearly_all_causes_name_a_field_a_line_a_list_or_a_service(self):
        causes = [cause for operation in CONTRACT.operations.values()
                  for cause in CONTRACT.causes(operation)]
        named = [cause for cause in causes if cause[1] != contract.PROGRAM]
        self.assertGreater(len(causes), 500)
        self.assertGreaterEqual(len(named), 0.95 * len(causes))

    def test_what_they_name_is_known(self):
        for described, name, operation in every_operation():
            # What an upload is for was said by another request.
            members = MEMBERS if name == "upload" else members_of(operation)
            for kind, subject, code in described.causes(operation):
                with self.subTest(name, kind=kind, subject=subject):
                    self.assertIn(code, CODES)
                    if kind == "setting" and subject != contract.ANY:
                        self.assertIn(subject, members | SETTINGS)

    def test_every_field_that_the_host_names_is_a_member_of_a_request(self):
        named = set(re.findall(r'Subject::Setting\("(\w+)"\)', "".join(
            path.read_text(encoding="utf-8") for path in Path(TOP, "host").rglob("*.cpp"))))
        self.assertGreater(len(named), 15)
        calls = {member for operation in CALLS.operations.values() for member in members_of(operation)}
        self.assertLessEqual(named, MEMBERS | calls)


class Settings(unittest.TestCase):
    def test_the_documents_are_up_to_date(self):
        with tempfile.TemporaryDirectory() as folder:
            for part in ("docs", "packaging/texts"):
                os.makedirs(os.path.join(folder, part))
            subprocess.run([DESCRIBE_SETTINGS, folder], check=True)
            subprocess.run([DOCUMENT_TOOL, "schema", folder + "/docs/document.schema.json"],
                           check=True)
            for name in ("docs/settings.md", "docs/settings.yaml", "docs/document.schema.json",
                         "packaging/texts/en.settings"):
                with open(os.path.join(folder, name), encoding="utf-8") as file:
                    self.assertEqual(text_of(name), file.read(),
                                     "make it anew: cmake --build --preset dev --target documents")


def body_of(name):
    """The members of a write action's body, those of lists of objects as MEMBER.PART."""
    body = CONTRACT.operations["write", name]["requestBody"]["content"]["application/json"]
    members = set()
    for member, schema in body["schema"]["properties"].items():
        parts = schema.get("items", schema).get("properties", {})
        members |= {"%s.%s" % (member, part) for part in parts} or {member}
    return members - {"action"}


def unbounded(schema, place):
    """The places below a schema of a request whose values have no bounds."""
    if "properties" in schema:
        return [found for name, member in schema["properties"].items()
                for found in unbounded(member, place + "." + name)]
    if schema.get("type") == "array":
        return unbounded(schema["items"], place)
    bounds = {"integer": {"minimum", "maximum"}, "string": {"maxLength"}}
    bounded = {"const", "enum", "format"} & schema.keys()
    return [] if bounded or bounds.get(schema["type"], set()) <= schema.keys() else [place]


def schemas_in(node):
    """The schemas that stand anywhere in a part of the document."""
    if isinstance(node, list):
        return [found for part in node for found in schemas_in(part)]
    if not isinstance(node, dict):
        return []
    itself = [node] if node.get("type") in ("integer", *contract.TYPES) else []
    return itself + schemas_in(list(node.values()))


class Members(unittest.TestCase):
    def test_schemas_have_no_key_that_means_nothing(self):
        known = contract.CHECKED | contract.SAID_ONLY
        for schema in schemas_in(CONTRACT.document.root):
            self.assertLessEqual(schema.keys(), known, schema)

    def test_all_of_a_request_have_bounds(self):
        for (kind, name), operation in CONTRACT.operations.items():
            schemas = [parameter["schema"] for parameter in operation.get("parameters", [])]
            schemas += [media["schema"] for media in operation.get("requestBody", {}).get(
                "content", {}).values()]
            self.assertEqual([found for schema in schemas for found in unbounded(schema, name)],
                             [], kind)

    def test_what_extends_the_language_is_defined_in_the_head(self):
        head = text_of("docs/openapi.yaml").partition("\nopenapi: ")[0]
        described = text_of("docs/openapi.yaml") + text_of("docs/settings.yaml")
        self.assertEqual(set(re.findall(r"[ {](x-[\w-]+): ", described)) -
                         set(re.findall(r"x-[\w-]+", head)), set())
        known = {**CONTRACT.document.root["components"]["x-formats"],
                 **contract.openapi.Document(TOP + "/docs/settings.yaml").root["Formats"]}
        self.assertLessEqual(set(re.findall(r"x-format: ([\w-]+)", described)), set(known))


class Lists(unittest.TestCase):
    LISTS = {name: operation["x-list"] for (_, name), operation in CONTRACT.operations.items()
             if "x-list" in operation}

    @staticmethod
    def columns(name):
        """The members of a list's rows."""
        page = contract.openapi.answer_schemas(CONTRACT.operations["read", name])[0]
        rows = page["properties"][Lists.LISTS[name]["rows"]]
        return set(rows.get("anyOf", [rows])[0]["items"]["properties"])

    def test_rows_have_the_members_that_are_named(self):
        for name, about in self.LISTS.items():
            named = {column["member"] for column in about["columns"]} | set(about["key"])
            named |= {about["tabs"]["member"]} if "tabs" in about else set()
            self.assertLessEqual(named, self.columns(name), name)

    def test_changes_say_what_comes_from_the_row(self):
        changed = {about[verb]: (name, verb) for name, about in self.LISTS.items()
                   for verb in ("add", "edit", "delete", "import") if verb in about}
        for action, (name, verb) in changed.items():
            operation = CONTRACT.operations["write", action]
            from_row, old = operation.get("x-from-row", {}), operation.get("x-old", {})
            with self.subTest(action):
                others = {"member.name", "member.type", "member.is_join"}  # from another list
                self.assertEqual(set(from_row) | set(old), body_of(action) - others)
                self.assertLessEqual({*from_row.values(), *old.values()}, self.columns(name))
                self.assertEqual(operation.get("x-then-apply"), self.LISTS[name].get("apply"))


class Answers(unittest.TestCase):
    def test_the_answers_of_the_action_tests(self):
        with tempfile.TemporaryDirectory() as folder:
            path = folder + "/answers"
            subprocess.run([ACTION_TESTS, "--gtest_brief=1"], check=False, timeout=120,
                           stdout=subprocess.DEVNULL, env={**os.environ, "MAILVANE_ANSWERS": path})
            with open(path, encoding="utf-8") as file:
                lines = sorted(set(file))
        wrong = collections.defaultdict(list)
        for line in lines:
            kind, name, body = line.split(" ", 2)
            if (kind, name) in CONTRACT.operations and not UNKNOWN_SOURCE.search(body):
                found = contract.answer_faults(CONTRACT.operations[kind, name], json.loads(body))
                for fault in found:
                    wrong[name + ": " + fault].append(body)
        self.assertGreater(len(lines), 50)
        self.assertFalse(wrong)


class Checker(unittest.TestCase):
    """That the checker sees what it is for."""

    def test_sees_what_is_not_described(self):
        refused = {"sec": "common", "key": "error_system"}
        for fault, kind, name, answer in (
                ("lacks items", "read", "enum_domain", {"success": True}),
                ("answer.more is not", "read", "enum_domain",
                 {"success": True, "items": [], "more": 1}),
                ("items[0].domain is 5", "read", "enum_domain",
                 {"success": True, "items": [{"domain": 5}]}),
                ("errinfo.key is 'no'", "write", "add_domain",
                 {"success": False, "errinfo": {**refused, "key": "no"}}),
                ("errinfo is not described", "write", "add_domain",
                 {"success": True, "errinfo": refused}),
                ("its x-max-bytes is 64", "read", "alias_enum",
                 {"success": True, "total": 0,
                  "items": [{"alias_name": "\u00fc" * 33, "alias_member": ""}]}),
                ("its minimum is 0", "read", "load_access",
                 {"success": True, "total": 0,
                  "items": [{"type": -1, "name_type": 0, "name": "", "status": "OK"}]}),
                ("auth_password is a password", "read", "load_report",
                 {"success": False, "errinfo": refused, "auth_password": "secret"})):
            self.assertIn(fault, "; ".join(
                contract.answer_faults(CONTRACT.operations[kind, name], answer)))


if __name__ == "__main__":
    DESCRIBE_SETTINGS, ACTION_TESTS, DOCUMENT_TOOL = sys.argv[1:4]
    del sys.argv[1:4]
    unittest.main()
