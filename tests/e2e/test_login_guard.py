"""Who fails to log in to the web again and again is kept away for a while, whichever web server is in
front. Requests are never counted, nor are failures at the loopback."""
import base64
import contextlib
import http.client
import json
import os
import socket

import harness
import nameserver
import test_web_servers
from harness import control, read, run, wait_for
from test_web_servers import TLS_PORT

CLIENTS = {"203.0.113.7": "127.0.0.1", "fd00:3::7": "::1"}  # and whom each calls
SETS = {"203.0.113.7": ("failed4", "203.0.113.7"), "fd00:3::7": ("failed6", "fd00:3::")}
NEIGHBOURS = {"203.0.113.8": "127.0.0.1", "fd00:3:0:1::7": "::1"}
MOST = 10
MOST_CONNECTIONS = 100


def setUpModule():
    for network in ("203.0.113.0/24", "fd00:3::/48"):
        nameserver.local_network(network)
    run("/usr/sbin/sysctl", "-qw", "net.ipv6.ip_nonlocal_bind=1")
    test_web_servers.make_certificate()
    test_web_servers.start("lighttpd")  # and with it the guard, told the port


def status(source, login=b"admin:pw-admin"):
    """What a client is answered; None when it is kept away."""
    call = {**CLIENTS, **NEIGHBOURS}[source]
    connection = http.client.HTTPSConnection(
        call, TLS_PORT, timeout=harness.PATIENCE, context=harness.unverified(),
        source_address=(source, 0))
    head = {"Authorization": "Basic " + base64.b64encode(login).decode()} if login else {}
    with contextlib.closing(connection):
        try:
            connection.request("GET", "/mailvane.cgi?action=load_smtp", None, head)
            return connection.getresponse().status
        except ConnectionError:
            return None


def kept_away():
    """The sources by how long they are kept away, in seconds."""
    found = {}
    for name in ("failed4", "failed6"):
        told = json.loads(run("/usr/sbin/nft", "-j", "list", "set", "inet", "mailvane_web", name))
        for element in told["nftables"][-1]["set"].get("elem", []):
            found[name, element["elem"]["val"]] = element["elem"]["expires"]
    return found


def let_everybody_in():
    for name in ("failed4", "failed6"):
        run("/usr/sbin/nft", "flush", "set", "inet", "mailvane_web", name)


def check():
    """The row of the self-check."""
    rows = read("mailvane_check").json()["settings"]
    return {row["key"]: row["status"] for row in rows}["web_login"]


class LoginGuard(harness.Story):
    def setUp(self):
        super().setUp()
        let_everybody_in()

    def fail_and_look(self):
        for source in CLIENTS:
            for _ in range(MOST):
                self.assertEqual(status(source, b"admin:wrong"), 401)
        wanted = {SETS[source] for source in CLIENTS}
        wait_for(lambda: kept_away().keys() >= wanted, "those who failed")
        self.assertEqual(kept_away().keys(), wanted)
        self.assertTrue(all(0 < seconds <= 600 for seconds in kept_away().values()))
        self.assertEqual({status(source) for source in CLIENTS}, {None})
        self.assertEqual({status(source) for source in NEIGHBOURS}, {200})
        let_everybody_in()  # as time does
        self.assertEqual({status(source) for source in CLIENTS}, {200})

    def test_failures_are_counted_by_whichever_server(self):
        self.fail_and_look()
        os.environ["MAILVANE_WEB_TLS_PORT"] = ""
        self.addCleanup(test_web_servers.start, "lighttpd")
        self.addCleanup(os.environ.pop, "MAILVANE_WEB_TLS_PORT")
        self.assertEqual(control("web", "restart"), 0)
        for name in ("nginx", "apache"):
            with self.subTest(name), test_web_servers.server(name):
                self.fail_and_look()

    def test_requests_are_not_counted(self):
        for _ in range(2 * MOST):
            self.assertEqual(status("203.0.113.7"), 200)
            self.assertEqual(status("203.0.113.7", None), 401)
        for _ in range(MOST):
            self.assertEqual(read("load_smtp", user="mallory").status, 401)
        # What is counted comes after these in the log.
        for _ in range(MOST):
            self.assertEqual(status("fd00:3::7", b"admin:wrong"), 401)
        wait_for(kept_away, "those who failed")
        self.assertEqual(kept_away().keys(), {SETS["fd00:3::7"]})
        self.assertEqual(read("load_smtp").status, 200)

    def test_connections_without_a_request_do_not_keep_others_out(self):
        def crowd():
            for _ in range(MOST_CONNECTIONS):
                with contextlib.suppress(ConnectionError):
                    connections.enter_context(socket.create_connection(
                        ("127.0.0.1", TLS_PORT), harness.PATIENCE, ("203.0.113.7", 0)))
            return kept_away()

        with contextlib.ExitStack() as connections:
            wait_for(crowd, "who has so many")
            self.assertEqual(kept_away().keys(), {SETS["203.0.113.7"]})
            self.assertEqual(status("203.0.113.8"), 200)

    def test_rules_that_were_flushed_come_back_when_they_are_needed(self):
        self.assertEqual(check(), "OK")
        run("/usr/sbin/nft", "flush", "ruleset")
        self.assertEqual(check(), "WARNING")
        for _ in range(MOST):
            self.assertEqual(status("203.0.113.7", b"admin:wrong"), 401)
        wait_for(lambda: check() == "OK", "the rules")
        wait_for(kept_away, "who failed")
        self.assertIsNone(status("203.0.113.7"))

    def test_the_end_of_the_guard_lets_everybody_in_and_is_told(self):
        for _ in range(MOST):
            self.assertEqual(status("203.0.113.7", b"admin:wrong"), 401)
        wait_for(kept_away, "who failed")
        os.kill(harness.pid_of("/run/mailvane/guard.pid"), 15)
        wait_for(lambda: check() == "WARNING", "the warning")
        wait_for(lambda: status("203.0.113.7") == 200, "the way to be free")
        test_web_servers.start("lighttpd")
        self.assertEqual(check(), "OK")
