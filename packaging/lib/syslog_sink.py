"""The system log of a private world: appends what arrives on a datagram socket to a file.

usage: syslog_sink.py SOCKET FILE
"""
import os
import re
import socket
import sys

PRIORITY = re.compile(rb"^<\d{1,3}>")
CONTROL = re.compile(rb"[\x00-\x1f\x7f]")


def as_line(datagram: bytes) -> bytes:
    """A line of the log: without the priority, control characters as #octal, as syslog daemons
    write them."""
    text = PRIORITY.sub(b"", datagram).rstrip(b"\n\x00")
    return CONTROL.sub(lambda found: b"#%03o" % found[0][0], text) + b"\n"


def main(path: str, log: str) -> None:
    if os.path.lexists(path):
        os.unlink(path)
    inbox = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    inbox.bind(path)
    os.chmod(path, 0o666)
    out = os.open(log, os.O_WRONLY | os.O_APPEND | os.O_CREAT, 0o600)
    while True:
        os.write(out, as_line(inbox.recv(65536)))


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2])
