"""The stored settings: files with lines name="value"."""
from collections.abc import Iterable

from mailvane.common.files import lines_of
from mailvane.common.paths import ETC


def parsed(lines: Iterable[str]) -> dict[str, str]:
    """The values by name, as texts."""
    pairs = (line.partition("=") for line in lines)
    return {name.strip(): value.strip().removeprefix('"').removesuffix('"')
            for name, equals, value in pairs if equals}


def stored(folder: str = ETC) -> dict[str, str]:
    """The settings stored in a folder, by name, as texts."""
    return parsed(lines_of(folder + "/mailvane.conf"))


def changed(before: str, after: str) -> list[str]:
    """Names of the settings that differ between two folders."""
    old, new = stored(before), stored(after)
    names = sorted(name for name in old.keys() | new.keys() if old.get(name) != new.get(name))
    return names + [name for name, file in (("domains", "/domains"), ("blocklists", "/dnsbl"))
                    if lines_of(before + file) != lines_of(after + file)]
