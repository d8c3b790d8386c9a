"""Holds the includes of the sources against the table of rooms in ARCHITECTURE.md, and the imports
of the package of Python against its own order."""

import re
import unittest
from pathlib import Path

TOP = Path(__file__).resolve().parents[2]
ROW = re.compile(r"^\| `([a-z_/]+)/` \|[^|]*\|([^|]*)\|$", re.MULTILINE)
INCLUDE = re.compile(r'^#include "([^"]+)"', re.MULTILINE)
IMPORT = re.compile(r"^ *(?:from|import) mailvane\.(\w+)", re.MULTILINE)
PYTHON = {"common": {"common"}, "ctl": {"common", "ctl"}, "setup": {"common", "setup"}}
NAMESPACE = re.compile(r"^namespace host[a-z:]* \{|\}  // namespace host[a-z:]*$", re.MULTILINE)
LIBRARY = "host/libmailvane/"


def rooms() -> dict[str, list[str]]:
    """The rooms from the top to the bottom, and those that each may include."""
    table = (TOP / "ARCHITECTURE.md").read_text()
    return {room: re.findall(r"`([a-z_/]+)/`", below) for room, below in ROW.findall(table)}


ROOMS = rooms()


def room_of(path: str) -> str | None:
    """The room of a file: the longest that its path begins with."""
    return max((room for room in ROOMS if path.startswith(room + "/")), key=len, default=None)


def sources() -> list[Path]:
    folders = {room.split("/")[0] for room in ROOMS}
    return [path for folder in sorted(folders) for path in sorted((TOP / folder).rglob("*"))
            if path.suffix in (".cpp", ".h")]


def includes() -> dict[str, set[str]]:
    """For each room those that it includes, with every file that stands in no room."""
    found: dict[str, set[str]] = {}
    for path in sources():
        name = str(path.relative_to(TOP))
        used = found.setdefault(room_of(name) or name, set())
        used.update(room_of(header) or header for header in INCLUDE.findall(path.read_text()))
    return {room: used - {room} for room, used in found.items()}


class Layers(unittest.TestCase):
    def test_the_table_is_there(self) -> None:
        self.assertIn("frame", ROOMS)
        self.assertIn(LIBRARY + "save", ROOMS)

    def test_every_room_includes_what_the_table_says_and_nothing_else(self) -> None:
        self.assertEqual(includes(), {room: set(below) for room, below in ROOMS.items()})

    def test_rooms_lie_above_what_they_include(self) -> None:
        order = list(ROOMS)
        for room, below in ROOMS.items():
            for other in below:
                self.assertLess(order.index(room), order.index(other), f"{room} -> {other}")

    def test_a_room_of_the_service_library_is_a_namespace(self) -> None:
        for path in (TOP / LIBRARY).rglob("*"):
            room = path.parent.name
            for line in NAMESPACE.findall(path.read_text() if path.is_file() else ""):
                self.assertRegex(line, rf"namespace host::{room}\b", str(path))

    def test_a_source_includes_the_header_of_its_name_first(self) -> None:
        for path in sources():
            header = str(path.with_suffix(".h").relative_to(TOP))
            if path.suffix == ".cpp" and path.with_suffix(".h").exists():
                self.assertEqual(INCLUDE.findall(path.read_text())[0], header, str(path))

    def test_the_two_commands_know_only_what_they_share(self) -> None:
        for room, allowed in PYTHON.items():
            modules = list((TOP / "tools/mailvane" / room).glob("*.py"))
            self.assertGreater(len(modules), 10, room)
            for path in modules:
                self.assertLessEqual(set(IMPORT.findall(path.read_text())), allowed, str(path))


if __name__ == "__main__":
    unittest.main()
