"""A setting that is added to a table is everywhere; one that lacks something does not compile.

  test_added_setting.py DESCRIBE_WITH_ADDED PAGE_WITH_ADDED COMPILER
"""
import contextlib
import io
import json
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
TOP = os.path.dirname(os.path.dirname(os.path.dirname(HERE)))
sys.path[:0] = [TOP + "/tools", TOP + "/tools/reference"]

import add_row
import make_reference
from mailvane.ctl import app

ROWS = "host/libmailvane/settings/relay_rows.h"


class AddedSetting(unittest.TestCase):
    def setUp(self):
        self.folder = self.enterContext(tempfile.TemporaryDirectory())

    def read(self, path):
        with open(os.path.join(self.folder, path), encoding="utf-8") as file:
            return file.read()

    def help(self, name):
        with contextlib.redirect_stdout(io.StringIO()) as out:
            self.assertEqual(app.main(self.folder, ["help", name]), 0)
        return out.getvalue()

    def test_is_in_the_pages(self):
        settings = os.path.join(self.folder, "var/packages/Mailvane/etc/mailvane.conf")
        os.makedirs(os.path.dirname(settings))
        with open(settings, "w", encoding="utf-8"):
            pass
        page = subprocess.run([PAGE, self.folder], stdout=subprocess.PIPE, check=True).stdout
        self.assertEqual(json.loads(page)[add_row.NAME], "there")

    def test_is_in_documents_description_and_help(self):
        for part in ("docs", "packaging/texts", "share/mailvane"):
            os.makedirs(os.path.join(self.folder, part))
        subprocess.run([DESCRIBE, self.folder], check=True)
        shutil.copy(TOP + "/docs/openapi.yaml", self.folder + "/docs")
        make_reference.main(self.folder + "/docs/openapi.yaml",
                            self.folder + "/share/mailvane/actions.json",
                            self.folder + "/share/mailvane/settings.json")
        self.assertIn("| `%s` |" % add_row.NAME, self.read("docs/settings.md"))
        self.assertIn(add_row.HELP, self.read("docs/settings.yaml"))
        self.assertIn('%s="%s"' % (add_row.NAME, add_row.TITLE),
                      self.read("packaging/texts/en.settings"))
        self.assertIn(add_row.TITLE, self.help("save_relay"))
        self.assertIn(add_row.HELP, self.help(add_row.NAME))

    def test_does_not_compile_without_a_field_or_with_an_empty_one(self):
        whole = add_row.ROW
        title = '     Title("%s"), ' % add_row.TITLE
        self.assertIn(title, whole)
        for row, compiles in (
                (whole, True),
                (whole.replace(title, "     "), False),
                (whole.replace(add_row.TITLE, ""), False),
                (whole.replace(add_row.HELP, "no sentence"), False),
                (whole.replace(', Since("0.1.0")', ""), False),
                (whole.replace("smtp_relay_enabled", "smtp_relay_missing"), False),
                (whole.replace(add_row.NAME, "smtp_relay_port"), False)):
            with self.subTest(row):
                self.assertEqual(self.compiles(row), compiles)

    def compiles(self, row):
        with open(os.path.join(TOP, ROWS), encoding="utf-8") as file:
            rows = add_row.with_row(file.read(), row)
        path = os.path.join(self.folder, ROWS)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(rows)
        source = os.path.join(TOP, "host/libmailvane/settings/settings_table.cpp")
        command = [COMPILER, "-std=c++17", "-fsyntax-only", "-w", "-I", self.folder, "-I", TOP]
        return subprocess.run([*command, source], stderr=subprocess.DEVNULL,
                              check=False).returncode == 0


if __name__ == "__main__":
    DESCRIBE, PAGE, COMPILER = sys.argv[1:4]
    del sys.argv[1:4]
    unittest.main()
