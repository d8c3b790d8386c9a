"""Runs what reads bytes in Python over mutations of good inputs, the same at every run."""
import os
import random
import sys
import time

INPUTS = 3000
PIECES = (b"/", b"../", b"\n", b"-")


def read(path):
    """Bytes of a file."""
    with open(path, "rb") as file:
        return file.read()


def corpus(folder):
    """The inputs in a folder; none where there is none."""
    names = sorted(os.listdir(folder)) if os.path.isdir(folder) else []
    return [read(os.path.join(folder, name)) for name in names]


def mutated(data, other, dice):
    """Some bytes changed, cut out, repeated or put in from another input, or some changed wherever
    they stand."""
    data = bytearray(data)
    for _ in range(dice.randrange(6)):
        at, size = dice.randrange(len(data) + 1), dice.randrange(12)
        while dice.randrange(20) and data[at:at + 1] == b"\0":  # padding is seldom of interest
            at += 1
        from_other = dice.randrange(len(other) + 1)
        piece = dice.choice((dice.randbytes(1), b"", data[at:at + 2 * size], b"\0" * size,
                             other[from_other:from_other + size], dice.choice(PIECES)))
        if dice.randrange(3) == 0 and piece:
            data = data.replace(data[at:at + len(piece)] or b"\0", piece)
        else:
            data[at:at + dice.choice((len(piece), size, 0))] = piece
    return bytes(data)


def main(seeds, judge, folder):
    """Judges the seeds and some mutations of them, or with a number of minutes as many as fit. What
    raises is kept in the folder."""
    minutes = float(sys.argv[1]) if len(sys.argv) > 1 else 0
    end, dice = time.monotonic() + 60 * minutes, random.Random(minutes)
    number = 0
    while number < INPUTS or time.monotonic() < end:
        first = dice.choice(seeds)
        data = seeds[number] if number < len(seeds) else mutated(first, dice.choice(seeds), dice)
        try:
            judge(data)
        except Exception:
            os.makedirs(folder, exist_ok=True)
            with open("%s/crash-%d" % (folder, number), "wb") as file:
                file.write(data)
            raise
        number += 1
    print("%d inputs" % number)
