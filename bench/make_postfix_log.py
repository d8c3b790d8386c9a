#!/usr/bin/env python3
"""Prints a Postfix log of many lines: make_postfix_log.py SAMPLE LINES

The lines of a real sample again and again, with new queue ids, message ids and addresses each time.
"""
import re
import sys

ID = re.compile(r"\b4jW[0-9A-Za-z]{6,}z[0-9A-Za-z]{3,6}\b")
LETTERS = "0123456789BCDFGHJKLMNPQRSTVWXY"


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        sample = [line for line in file if not line.startswith("#") and "AAB6D5121F7" not in line]
    left = int(sys.argv[2])
    turn = 0
    while left > 0:
        turn += 1
        mark, number = "", turn
        for _ in range(4):
            mark += LETTERS[number % len(LETTERS)]
            number //= len(LETTERS)
        text = ID.sub(lambda found: mark + found.group()[3:], "".join(sample[:left]))
        text = text.replace("@client.test", "%d@client.test" % turn)
        sys.stdout.write(text.replace("x@plain.test", "x%d@plain.test" % (turn % 5000)))
        left -= len(sample)


main()
