"""A net with a router, and a net of clients behind that router, each by IPv4 and by IPv6."""
import contextlib
import ctypes
import os
import subprocess

import harness

SERVER = "10.1.0.1", "fd00:1::1"      # this machine in the net that it shares with the router
ROUTER = "10.1.0.254", "fd00:1::fe"
CLIENTS = "10.3.0.0/24", "fd00:3::/64"  # each address of them is one of the client's

_COMMANDS = os.path.dirname(os.path.abspath(__file__)) + "/routed_network.ip"
_NEW_NETWORK = 0x40000000  # CLONE_NEWNET


def make():
    """Makes it out of network namespaces; it ends with the world."""
    def run(*command):
        subprocess.run(command, check=True, stdin=subprocess.DEVNULL, timeout=harness.PATIENCE)

    with open(_COMMANDS, encoding="ascii") as file:
        lines = file.read().splitlines()
    for line in lines[:2]:
        run("ip", *line.split())
    run("sysctl", "-qw", "net.ipv6.conf.default.accept_dad=0")
    for space in ("router", "client"):
        run("ip", "netns", "exec", space, "sysctl", "-qw", "net.ipv6.conf.default.accept_dad=0",
            "net.ipv6.conf.all.forwarding=1", "net.ipv4.ip_forward=1",
            "net.ipv6.ip_nonlocal_bind=1")
    for line in lines[2:]:
        run("ip", *line.split())


@contextlib.contextmanager
def standing_at(place):
    """While it lasts, sockets are made at the router or the client; they stay there. Not for
    threads."""
    own, there = (os.open(name, os.O_RDONLY)
                  for name in ("/proc/self/ns/net", "/run/netns/" + place))
    library = ctypes.CDLL(None, use_errno=True)
    try:
        if library.setns(there, _NEW_NETWORK) < 0:
            raise OSError(ctypes.get_errno(), "setns")
        yield
    finally:
        library.setns(own, _NEW_NETWORK)
        os.close(own)
        os.close(there)
