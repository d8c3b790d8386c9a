"""A net with a router, and a net of clients behind that router, each by IPv4 and by IPv6."""
import contextlib
import ctypes
import os
import subprocess

import harness

SERVER = "10.1.0.1", "fd00:1::1"      # this machine in the net that it shares with the router
ROUTER = "10.1.0.254", "fd00:1::fe"
CLIENTS = "10.3.0.0/24", "fd00:3::/64"  # each address of them is one of the client's

_COMMANDS = """
netns add router
netns add client
link add mail0 type veth peer name mail1 netns router
-n router link add out0 type veth peer name out1 netns client
addr add 10.1.0.1/24 dev mail0
addr add fd00:1::1/64 dev mail0 nodad
-n router addr add 10.1.0.254/24 dev mail1
-n router addr add fd00:1::fe/64 dev mail1 nodad
-n router addr add 10.2.0.254/24 dev out0
-n router addr add fd00:2::fe/64 dev out0 nodad
-n client addr add 10.2.0.2/24 dev out1
-n client addr add fd00:2::2/64 dev out1 nodad
link set mail0 up
-n router link set mail1 up
-n router link set out0 up
-n client link set out1 up
-n client link set lo up
route add default via 10.1.0.254
-6 route add default via fd00:1::fe
-n router route add 10.3.0.0/24 via 10.2.0.2
-n router -6 route add fd00:3::/64 via fd00:2::2
-n client route add default via 10.2.0.254
-n client -6 route add default via fd00:2::fe
-n client route add local 10.3.0.0/24 dev lo
-n client -6 route add local fd00:3::/64 dev lo
"""
_NEW_NETWORK = 0x40000000  # CLONE_NEWNET


def make():
    """Makes it out of network namespaces; it ends with the world."""
    def run(*command):
        subprocess.run(command, check=True, stdin=subprocess.DEVNULL, timeout=harness.PATIENCE)

    lines = _COMMANDS.split("\n")[1:-1]
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
