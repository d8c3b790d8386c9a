"""What a page costs over HTTP, by each web server. See run-web-servers."""
import base64
import contextlib
import http.client
import os
import ssl
import unittest

import harness
import measuring
import test_web_servers as servers

ROUNDS = int(os.environ.get("MAILVANE_ROUNDS", "300"))
GATE = "/run/mailvane/web/fcgi.pid"
TICK = 1000 / os.sysconf("SC_CLK_TCK")  # milliseconds
HEAD = {"Authorization": "Basic " + base64.b64encode(b"admin:pw-admin").decode()}


def taken(pid):
    """Milliseconds of the processor that a process and its children have taken."""
    total = 0
    for one in [pid, *map(int, harness.run("pgrep", "-P", str(pid), check=False).split())]:
        with open("/proc/%d/stat" % one, encoding="ascii") as file:
            total += sum(map(int, file.read().rpartition(")")[2].split()[11:13]))
    return total * TICK


def program():
    """Milliseconds of the processor that the program takes, started by itself."""
    environment = measuring.request_environment("action=load_smtp")
    rows = measuring.costs(os.environ["MAILVANE_BUILD"], ROUNDS, environment, [("it", [measuring.PROGRAM])])
    return float(rows[0][3])


def load(connection):
    connection.request("GET", "/mailvane.cgi?action=load_smtp", headers=HEAD)
    answer = connection.getresponse()
    answer.read()
    if answer.status != 200:
        raise AssertionError(answer.status)


class WebServers(unittest.TestCase):
    def test_all(self):
        servers.make_certificate()
        servers.reserve_port()
        self.addCleanup(harness.control, "web", "restart")
        print("%-10s %10s %8s %8s %8s %16s" % ("CPU ms", "web server", "gate", "program", "page", "times the program"))
        for name in servers.SERVERS:
            with servers.server(name) as pid:
                self.measure(name, pid)
        with open("/proc/loadavg", encoding="ascii") as file:
            print("load " + file.read().strip())

    def measure(self, name, server):
        gate = harness.pid_of(GATE)
        bare = program()
        context = ssl.create_default_context(cafile=harness.ETC + "/tls/cert.pem")
        with contextlib.closing(http.client.HTTPSConnection("127.0.0.1", servers.TLS_PORT, context=context)) as line:
            load(line)
            before = taken(server), taken(gate)
            for _ in range(ROUNDS):
                load(line)
            own, passing = [(taken(pid) - then) / ROUNDS for pid, then in zip((server, gate), before)]
        page = own + passing + bare
        print("%-10s %10.2f %8.2f %8.2f %8.2f %16.2f" % (name, own, passing, bare, page, page / bare), flush=True)
