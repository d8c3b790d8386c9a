"""docs/openapi.yaml against the program: actions, settings, answers of the action tests.

  test_description.py DESCRIBE_SETTINGS ACTION_TESTS
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

CONTRACT = contract.Contract()


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


def names(kind):
    return [name for known, name in CONTRACT.operations if known == kind]


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
        parts = CONTRACT.document.raw["components"]
        for kind in ("parameters", "responses", "schemas"):
            for name in parts[kind]:
                self.assertIn("#/components/%s/%s" % (kind, name), CONTRACT.document.references)

    def test_what_a_save_must_not_lack_is_loaded(self):
        for (kind, name), operation in CONTRACT.operations.items():
            if "x-edits" in operation:
                body = operation["requestBody"]["content"]["application/json"]["schema"]
                page = contract.openapi.answer_schemas(
                    CONTRACT.operations["read", operation["x-edits"]])[0]
                self.assertLessEqual(set(body["required"]) - {"action"}, set(page["required"]),
                                     name)


class Refusals(unittest.TestCase):
    def test_nearly_all_causes_name_a_field_a_line_a_list_or_a_service(self):
        causes = [cause for operation in CONTRACT.operations.values()
                  for cause in CONTRACT.causes(operation)]
        named = [cause for cause in causes if cause[1] != contract.PROGRAM]
        self.assertGreater(len(causes), 500)
        self.assertGreaterEqual(len(named), 0.95 * len(causes))

    def test_what_they_name_is_known(self):
        for (_, name), operation in CONTRACT.operations.items():
            # What an upload is for was said by another request.
            members = MEMBERS if name == "upload" else members_of(operation)
            for kind, subject, code in CONTRACT.causes(operation):
                with self.subTest(name, kind=kind, subject=subject):
                    self.assertIn(code, CODES)
                    if kind == "setting" and subject != contract.ANY:
                        self.assertIn(subject, members | SETTINGS)

    def test_every_field_that_the_host_names_is_a_member_of_a_request(self):
        named = set(re.findall(r'Subject::Setting\("(\w+)"\)', "".join(
            path.read_text(encoding="utf-8") for path in Path(TOP, "host").rglob("*.cpp"))))
        self.assertGreater(len(named), 15)
        self.assertLessEqual(named, MEMBERS)


class Settings(unittest.TestCase):
    def test_the_documents_are_up_to_date(self):
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run([DESCRIBE_SETTINGS, folder], check=True)
            for name in ("settings.md", "settings.yaml"):
                with open(os.path.join(folder, name), encoding="utf-8") as file:
                    self.assertEqual(text_of("docs/" + name), file.read(),
                                     "make it anew: cmake --build --preset dev --target documents")


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
            if (kind, name) in CONTRACT.operations:
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
                ("auth_password is a password", "read", "load_report",
                 {"success": False, "errinfo": refused, "auth_password": "secret"})):
            self.assertIn(fault, "; ".join(
                contract.answer_faults(CONTRACT.operations[kind, name], answer)))


if __name__ == "__main__":
    DESCRIBE_SETTINGS, ACTION_TESTS = sys.argv[1:3]
    del sys.argv[1:3]
    unittest.main()
