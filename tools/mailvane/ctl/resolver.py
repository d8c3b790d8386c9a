"""DNS queries to this machine's name servers. /etc/hosts is not used, so that the answers are those
that other hosts get."""
import os
import socket
import struct
from collections.abc import Iterator

MX, TEXT = 15, 16
PORT, PATIENCE, TRIES = 53, 3, 2  # PATIENCE in seconds
LARGEST = 1232  # bytes of an answer by UDP
LONGEST_LABEL = 63
TRUNCATED, NAME_ERROR = 0x0200, 3


class NoAnswer(Exception):
    """No name server answered."""


def records(name: str, kind: int) -> list[str]:
    """The MX hosts (lower case, without the final dot) or texts (parts joined) of a name."""
    for server in _servers() * TRIES:
        try:
            return _ask(server, name, kind)
        except (OSError, struct.error, IndexError, ValueError):
            continue
    raise NoAnswer("the DNS does not answer")


def _servers() -> list[str]:
    with open("/etc/resolv.conf", encoding="utf-8", errors="replace") as file:
        words = [line.split() for line in file]
    found = [line[1] for line in words if len(line) > 1 and line[0] == "nameserver"]
    return found or ["127.0.0.1"]


def _ask(server: str, name: str, kind: int) -> list[str]:
    number = os.urandom(2)
    labels = name.rstrip(".").encode("ascii").split(b".")
    if not all(0 < len(label) <= LONGEST_LABEL for label in labels):
        raise ValueError("no name")
    query = (number + struct.pack("!HHHHH", 0x0100, 1, 0, 0, 1) +
             b"".join(bytes([len(label)]) + label for label in labels) +
             struct.pack("!BHH", 0, kind, 1) + struct.pack("!BHHIH", 0, 41, LARGEST, 0, 0))
    answer = _by_datagram(server, query)
    if struct.unpack_from("!H", answer, 2)[0] & TRUNCATED:
        answer = _by_stream(server, query)
    if answer[:2] != number:
        raise ValueError("somebody else's answer")
    return list(_parsed(answer, kind))


def _by_datagram(server: str, query: bytes) -> bytes:
    family = socket.AF_INET6 if ":" in server else socket.AF_INET
    with socket.socket(family, socket.SOCK_DGRAM) as call:
        call.settimeout(PATIENCE)
        call.connect((server, PORT))
        call.send(query)
        return call.recv(65535)


def _by_stream(server: str, query: bytes) -> bytes:
    with socket.create_connection((server, PORT), PATIENCE) as call, call.makefile("rb") as stream:
        call.sendall(struct.pack("!H", len(query)) + query)
        return stream.read(struct.unpack("!H", stream.read(2))[0])


def _parsed(answer: bytes, kind: int) -> Iterator[str]:
    flags, questions, count = struct.unpack_from("!HHH", answer, 2)
    code = flags & 15
    if code not in (0, NAME_ERROR):
        raise ValueError("the server cannot tell")
    place = 12
    for _ in range(questions):
        place = _name(answer, place)[1] + 4
    for _ in range(count):
        place = _name(answer, place)[1]
        found, _, _, size = struct.unpack_from("!HHIH", answer, place)
        place += 10
        if found == kind:
            yield _name(answer, place + 2)[0] if kind == MX else _text(answer[place:place + size])
        place += size


def _name(answer: bytes, place: int) -> tuple[str, int]:
    """The name at `place` in lower case, and the place after it."""
    labels: list[str] = []
    end = 0
    for _ in range(128):
        size = answer[place]
        if size >= 0xc0:
            end = end or place + 2
            place = struct.unpack_from("!H", answer, place)[0] & 0x3fff
            continue
        if size == 0:
            return ".".join(labels), end or place + 1
        labels.append(answer[place + 1:place + 1 + size].decode("ascii").lower())
        place += 1 + size
    raise ValueError("a name without an end")


def _text(data: bytes) -> str:
    parts = []
    while data:
        parts.append(data[1:1 + data[0]])
        data = data[1 + data[0]:]
    return b"".join(parts).decode(errors="replace")
