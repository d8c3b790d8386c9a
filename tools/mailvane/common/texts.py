"""The catalogue: texts for people by topic, section and key, in the files LANGUAGE.TOPIC of the
package's folder of texts.

A file has lines `[section]` and `key="text"`; lines that begin with # are comments. What stands in
a text as {name} is a placeholder.
"""
FOLDER = "/app/texts"


def read(path: str) -> dict[str, dict[str, str]]:
    """The sections of a file, each with its texts by key."""
    sections: dict[str, dict[str, str]] = {}
    with open(path, encoding="utf-8") as file:
        for number, line in enumerate((line.strip() for line in file), 1):
            if line.startswith("[") and line.endswith("]"):
                section = sections.setdefault(line[1:-1], {})
            elif line and not line.startswith("#"):
                key, equals, text = line.partition('="')
                if not equals or not text.endswith('"') or not sections or key in section:
                    raise ValueError("%s, line %d: no key=\"text\" of its own" % (path, number))
                section[key] = text[:-1]
    return sections


class Texts:
    """The texts of a language, in the folder of an installed package; each topic is read when it is
    first needed."""

    def __init__(self, target: str, language: str = "en") -> None:
        self._start = "%s%s/%s." % (target, FOLDER, language)
        self._topics: dict[str, dict[str, dict[str, str]]] = {}

    def text(self, topic: str, section: str, key: str, **values: object) -> str:
        """A text with its placeholders filled; "" when the catalogue does not have it."""
        if topic not in self._topics:
            self._topics[topic] = read(self._start + topic)
        found = self._topics[topic].get(section, {}).get(key, "")
        return found.format(**values) if values else found
