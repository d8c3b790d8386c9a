"""The libraries that are built into the console are what their table says."""
import hashlib
import json
import unittest
from pathlib import Path

TOP = Path(__file__).resolve().parents[2]


def tables():
    """The rows of the tables, each with the folder that it is about."""
    for table in (TOP / "console/vendor/table", TOP / "tests/console/vendor/table"):
        for line in table.read_text(encoding="ascii").splitlines():
            if not line.startswith("#"):
                yield table.parent / line.split()[0], line.split()[1:]


def digest(folder):
    """As find . -type f | LC_ALL=C sort | xargs sha256sum | sha256sum does it."""
    lines = ["%s  ./%s\n" % (hashlib.sha256(path.read_bytes()).hexdigest(), path.relative_to(folder))
             for path in folder.rglob("*") if path.is_file()]
    return hashlib.sha256("".join(sorted(lines, key=lambda line: line.split()[1])).encode()).hexdigest()


class Vendored(unittest.TestCase):
    def test_is_what_the_table_says(self):
        for folder, (version, licence, _, files) in tables():
            with self.subTest(folder.name):
                about = json.loads((folder / "package.json").read_text(encoding="utf-8"))
                self.assertEqual((about["version"], about["license"]), (version, licence))
                self.assertTrue((folder / "LICENSE").read_text(encoding="utf-8"))
                self.assertEqual(digest(folder), files)

    def test_nothing_else_is_vendored(self):
        named = {folder for folder, _ in tables()}
        found = {path for folder in ("console/vendor", "tests/console/vendor")
                 for path in (TOP / folder).iterdir() if path.is_dir()}
        self.assertEqual(found, named)


if __name__ == "__main__":
    unittest.main()
