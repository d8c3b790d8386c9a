"""The server that the guides are about, in a private world: its names, its users, and what lies around
it on the network.
"""
import contextlib
import json
import os
import smtplib
import textwrap
import unittest

import guide
import harness
import nameserver
from harness import ETC, run
from machine import write
from relay_host import RelayHost

GUIDES = os.path.dirname(os.path.abspath(__file__)) + "/../../docs/guides/"
HOST = "mail.example.org"
STRANGER = "203.0.113.1"
CTL = harness.TARGET + "/bin/mailvanectl"
KEY, CERTIFICATE = "/etc/relay-key.pem", "/etc/relay-cert.pem"
RECORDS = ("host-record=mail.example.org,127.0.0.1", "host-record=relay.example.com,127.0.0.1",
           "address=/away.example/192.0.2.60", "local=/example/", "local=/org/", "local=/com/")
NAMES = nameserver.NameServer(*RECORDS)


class Guide(unittest.TestCase):
    """Follows guides one after the other on one server."""

    @classmethod
    def setUpClass(cls):
        nameserver.local_network("203.0.113.0/24")
        NAMES.start()
        cls.addClassCleanup(NAMES.stop)
        write("/etc/hosts", "127.0.0.1 localhost\n127.0.0.1 mail.example.org\n")
        harness.save(acc_domain_name="example.org", smtp_hostname=HOST)
        harness.tell("save_imap_pop3", imap_enabled=True, imaps_enabled=True, pop3_enabled=False,
                     pop3s_enabled=False, imap_port=143, imaps_port=993, pop3_port=110, pop3s_port=995)
        for name in ("alice", "bob"):
            harness.ask("user_password", {"name": name, "password": guide.PASSWORD})

    def follow(self, name, **meanwhile):
        """Follows a guide. `meanwhile` tells what happens elsewhere once commands were typed that
        begin with these words, joined by underscores."""
        happens = {words.replace("_", " "): act for words, act in meanwhile.items()}
        guide.Follower(leaves_out=["machine"], meanwhile=happens).follow(GUIDES + name + ".md")


def send(sender, recipient, subject):
    """Mail of a stranger, and how it was answered."""
    text = "From: %s\nTo: %s\nSubject: %s\n\nA message.\n" % (sender, recipient, subject)
    with smtplib.SMTP("127.0.0.1", 25, "far.example", harness.PATIENCE, (STRANGER, 0)) as client:
        return harness.smtp_answer(lambda: client.sendmail(sender, [recipient], text), recipient)[0]


def publish_records():
    """The administrator takes what `mailvanectl dns` prints to the pages of his domain."""
    NAMES.restart(*RECORDS, *map(_published, json.loads(run(CTL, "dns", "--json"))))


def _published(record):
    """A record as the name server takes it."""
    name, value = record["name"], record["value"]
    if record["type"] == "TXT":
        return "txt-record=%s,%s" % (name, ",".join(textwrap.wrap(value, 200, drop_whitespace=False)))
    *numbers, host = value.rstrip(".").split()
    if record["type"] == "MX":
        return "mx-host=%s,%s,%s" % (name, host, *numbers)
    priority, weight, port = numbers
    return "srv-host=%s,%s,%s,%s,%s" % (name, host, port, priority, weight)


@contextlib.contextmanager
def relay():
    """The server of a provider, which takes mail of one login by TLS and has a certificate."""
    run("/usr/bin/openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "9", "-subj",
        "/CN=relay.example.com", "-addext", "subjectAltName=DNS:relay.example.com", "-keyout", KEY,
        "-out", CERTIFICATE)
    write(ETC + "/local.d/main.cf", "smtp_tls_CAfile = %s\n" % CERTIFICATE)
    with RelayHost(465, ("customer", guide.PASSWORD), CERTIFICATE, KEY, wraps=True) as host:
        yield host
