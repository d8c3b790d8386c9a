"""What a page costs through each web server, beside the bare process. See run-web-servers."""
import base64
import contextlib
import http.client
import os
import ssl
import statistics
import time
import unittest

import harness
import test_web_servers as servers
from control_group import ControlGroup
from measuring import PROGRAM, costs, request_environment, tell

ROUNDS = int(os.environ.get("MAILVANE_ROUNDS", "300"))
PAGE = "/mailvane.cgi?action=load_smtp"
HEAD = {"Authorization": "Basic " + base64.b64encode(b"admin:pw-admin").decode()}
# Who works for a page: the servers, and what runs the program for them.
PROGRAMS = ("lighttpd", "nginx", "apache2", "fcgiwrap")


def count_in(group):
    """Has a group of processes hold those that work for pages."""
    for pid in filter(str.isdigit, os.listdir("/proc")):
        with contextlib.suppress(FileNotFoundError, ProcessLookupError), \
                open("/proc/%s/comm" % pid, encoding="ascii") as file:
            if file.read().strip() in PROGRAMS:
                group.add(int(pid))


def tls():
    context = ssl.create_default_context(cafile=harness.ETC + "/tls/cert.pem")
    return http.client.HTTPSConnection("127.0.0.1", servers.TLS_PORT, context=context)


class Pages(unittest.TestCase):
    def setUp(self):
        subject = [("page", [PROGRAM])]
        environment = request_environment("action=load_smtp")
        self.bare = costs(os.environ["MAILVANE_BUILD"], ROUNDS, environment, subject)["page"]

    def test_each_server(self):
        self.measure("lighttpd", http.client.HTTPConnection(*harness.WEB))
        servers.make_certificate()
        servers.reserve_port()
        for name in servers.SERVERS:
            with servers.server(name):
                self.measure(name + ", TLS", tls())

    def measure(self, name, connection):
        """Pages one after the other, over one connection while the server keeps it."""
        times = []
        with contextlib.closing(connection), ControlGroup("mailvane-bench-web") as group:
            count_in(group)
            before = group.used()
            for _ in range(ROUNDS):
                start = time.perf_counter()
                connection.request("GET", PAGE, headers=HEAD)
                answer = connection.getresponse()
                self.assertIn(b'"success":true', answer.read())
                self.assertEqual(answer.status, 200)
                times.append((time.perf_counter() - start) * 1e3)
            processor = (group.used() - before) * 1e3 / ROUNDS
        tell("web server", "load_smtp by " + name, processor, "ms CPU", 0, "bare process", self.bare.cpu)
        tell("web server", "clock of load_smtp by " + name, statistics.median(times), "ms", 0, "bare process",
             self.bare.clock)
