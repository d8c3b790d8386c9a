"""Writes a table of settings with one row more.

  add_row.py ROWS.H MORE_ROWS.H
"""
import os
import sys

NAME, TITLE, HELP = "smtp_relay_greeting", "Greeting of the relay host", "It greets by this name."
ROW = """    {SettingsObject::kPostfix, Name("%s"), Value::Text("there", 0, 40, kHostName),
     Title("%s"), Help("%s"), kRelay, Needs("smtp_relay_enabled", "yes"), Warning::None(),
     Restarts("postfix"), Since("0.1.0")},
""" % (NAME, TITLE, HELP)
END = "};\n\n}  // namespace"


def with_row(rows: str, row: str = ROW) -> str:
    """The text of a table with a row at its end."""
    start, end = rows.rsplit(END, 1)
    return start + row + END + end


if __name__ == "__main__":
    with open(sys.argv[1], encoding="utf-8") as source:
        text = with_row(source.read())
    os.makedirs(os.path.dirname(sys.argv[2]), exist_ok=True)
    with open(sys.argv[2], "w", encoding="utf-8") as target:
        target.write(text)
