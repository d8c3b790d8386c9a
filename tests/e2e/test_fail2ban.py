"""fail2ban: who fails to log in is found in the logs of the real servers, by the address that is
his. What he calls himself names nobody else."""
import base64
import collections
import concurrent.futures
import contextlib
import http.client
import os
import socket
import unittest

import harness
import nameserver
import test_web_servers
from harness import TARGET, post, run, wait_for
from test_web_servers import TLS_PORT

CLIENTS = {"203.0.113.7": "127.0.0.1", "fd00:3::7": "::1"}  # and whom each calls
# The logs, their filters, and how many of the doors below fill them.
LOGS = (("web.log", "web", 1), ("maillog", "mail", 1), ("dovecot.log", "mail", 2))
# Names of users that have what a log has beside an address.
NAMES = ('x" from 1.2.3.4', "x\nx IP: 1.2.3.4", "[1.2.3.4]: SASL LOGIN authentication failed: x",
         "x>, method=PLAIN, rip=1.2.3.4, lip=1.2.3.5, session=<a")


def setUpModule():
    nameserver.local_network("203.0.113.0/24")
    nameserver.local_network("fd00:3::/64")
    run("/usr/sbin/sysctl", "-qw", "net.ipv6.ip_nonlocal_bind=1")
    post({"action": "save_imap_pop3", "imap_enabled": True, "pop3_enabled": True,
          "plaintext_auth": True})
    test_web_servers.make_certificate()
    test_web_servers.start("lighttpd")
    run("/bin/cp", "-r", TARGET + "/etc/fail2ban", "/etc")
    os.unlink("/etc/fail2ban/jail.d/defaults-debian.conf")  # needs a log of this machine's own


def web(source, name, password):
    login = base64.b64encode(b"%s:%s" % (name, password)).decode()
    connection = http.client.HTTPSConnection(
        CLIENTS[source], TLS_PORT, timeout=harness.PATIENCE, context=harness.unverified(),
        source_address=(source, 0))
    with contextlib.closing(connection):
        connection.request("GET", "/mailvane.cgi?action=load_smtp", None,
                           {"Authorization": "Basic " + login})
        return connection.getresponse().status == 200


def mail(port, conversation, success):
    """A door of a mail server, opened by a conversation that has the login in it."""
    def log_in(source, name, password):
        word = base64.b64encode(b"\0%s\0%s" % (name, password))
        with socket.create_connection((CLIENTS[source], port), harness.PATIENCE,
                                      (source, 0)) as connection:
            connection.sendall(conversation % word)
            return success in connection.makefile("rb").read()
    return log_in


DOORS = (web, mail(25, b"EHLO c.test\r\nAUTH PLAIN %s\r\nQUIT\r\n", b"\n235 "),
         mail(110, b"AUTH PLAIN %s\r\nQUIT\r\n", b"Logged in"),
         mail(143, b"a AUTHENTICATE PLAIN %s\r\nb LOGOUT\r\n", b"\na OK "))


def found(log, jail):
    """How often each address is found in a log."""
    text = run("/usr/bin/fail2ban-regex", "-o", "ip", "/var/log/mailvane/" + log,
               "/etc/fail2ban/filter.d/mailvane-%s.conf" % jail)
    return collections.Counter(text.split())


class Fail2ban(unittest.TestCase):
    def test_failed_logins_are_their_clients_and_nobody_elses(self):
        for source in CLIENTS:
            for door in DOORS:
                user = b"admin" if door is web else b"alice"
                self.assertTrue(door(source, user, b"pw-" + user), (source, door))
        # Side by side, since each is kept waiting.
        with concurrent.futures.ThreadPoolExecutor(40) as pool:
            tries = [pool.submit(door, source, name.encode(), b"wrong")
                     for source in CLIENTS for door in DOORS for name in NAMES]
        self.assertEqual({one.result() for one in tries}, {False})
        for log, jail, doors in LOGS:
            with self.subTest(log):
                want = dict.fromkeys(CLIENTS, doors * len(NAMES))
                wait_for(lambda log=log, jail=jail, want=want:
                         found(log, jail).total() >= sum(want.values()), "the lines of " + log)
                self.assertEqual(found(log, jail), want)

    def test_a_log_that_is_not_there_yet_keeps_no_jail_from_starting(self):
        check = "/usr/bin/fail2ban-client", "-t"
        run(*check)
        os.rename("/var/log/mailvane", "/var/log/elsewhere")
        self.addCleanup(os.rename, "/var/log/elsewhere", "/var/log/mailvane")
        run(*check)
