#!/usr/bin/python3
"""An archive to restore: it is refused, or holds nothing but whole files of known names."""
import os
import sys
import tarfile
import tempfile

HERE = os.path.dirname(os.path.realpath(__file__))
sys.path[:0] = [HERE, HERE + "/../../tools"]

import mutation
from mailvane.common.errors import Refused
from mailvane.ctl import archive, stored_files

CORPUS = HERE + "/corpus/archive"
FILES = {"mailvane.conf": b'smtp_port="25"\n', "rules/my rules.cf": b"", "alias.db": b"x" * 600,
         "dkim.key/pair-2026Z/dkim.private": b"key"}
BLOCK, CHECKSUM, SIZE = tarfile.BLOCKSIZE, slice(148, 156), slice(124, 136)


def repaired(data):
    """The same with right checksums in its headers, so that they are believed."""
    data, place = bytearray(data), 0
    while place + BLOCK <= len(data) and data[place]:
        header = data[place:place + BLOCK]
        header[CHECKSUM] = b" " * 8
        header[CHECKSUM] = b"%06o\0 " % sum(header)
        data[place:place + BLOCK] = header
        try:
            size = max(0, tarfile.nti(header[SIZE]))
        except tarfile.TarError:
            break
        place += BLOCK + -(-size // BLOCK) * BLOCK
    return bytes(data)


def judge(path, data):
    """Reads it as it is and with its checksums repaired."""
    for form in (data, repaired(data)):
        with open(path, "wb") as file:
            file.write(form)
        try:
            state = archive.read(path)
        except Refused:
            continue
        for name, held in state.files.items():
            assert stored_files.mode_of(name), name
            assert os.path.normpath(name) == name and not name.startswith(("/", "..")), name
            assert len(held) <= len(form)


def main():
    """The good archive, and those of the corpus."""
    with tempfile.TemporaryDirectory(dir="/dev/shm") as folder:
        path = folder + "/state.tar"
        archive.write(path, archive.State(FILES, "pair-2026Z", 7, "0.1"))
        seeds = [mutation.read(path), *mutation.corpus(CORPUS)]
        mutation.main(seeds, lambda data: judge(path, data), CORPUS)


if __name__ == "__main__":
    main()
