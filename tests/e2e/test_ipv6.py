"""IPv6 next to IPv4: each rule for clients holds for both, in a net with a router."""
import contextlib
import ipaddress
import re
import smtplib
import socket

import harness
import nameserver
import routed_network
import test_self_check
from harness import DOMAIN, ETC, command, read
from machine import fragment
from relay_host import RelayHost
from routed_network import ROUTER, SERVER, standing_at

BOB = "bob@" + DOMAIN
CURRENT = ETC + "/generated/current"
BLOCKLIST = {"server": "ip.bl.test", "type": "rbl_client"}
CLIENT, NAME, IP, NETWORK = 2, 1, 3, 4
BOTH = 0, 1  # IPv4 and IPv6


def client(version, number):
    """An address of the client's, `number` being the same digits in both."""
    return ("10.3.0.%d" if version == 0 else "fd00:3::%d") % number


def listed(address):
    """The record by which a blocklist lists an address."""
    name = ipaddress.ip_address(address).reverse_pointer
    return "address=/%s/127.0.0.2" % re.sub(r"(in-addr|ip6)\.arpa$", BLOCKLIST["server"], name)


def place(source):
    """Where one stands with an address: nowhere in particular on this machine."""
    if source in ROUTER:
        return standing_at("router")
    own = source in SERVER or ipaddress.ip_address(source).is_loopback
    return contextlib.nullcontext() if own else standing_at("client")


def connect(source, port):
    """A connection to this machine, by the address of the same family."""
    with place(source):
        return socket.create_connection((SERVER[":" in source], port), harness.PATIENCE,
                                        (source, 0))


def smtp(source):
    """A conversation with the mail server, called by its address of the source's net."""
    address = source if source in ("127.0.0.1", "::1") else SERVER[":" in source]
    with place(source):
        return smtplib.SMTP(address, 25, "c.test", harness.PATIENCE, (source, 0))


def say(source, recipient=BOB, sender="x@elsewhere.test"):
    """Code and words by which the mail server answers to a recipient."""
    with smtp(source) as talk:
        talk.ehlo()
        talk.mail(sender)
        code, words = talk.rcpt(recipient)
        return "%d %s" % (code, words.decode())


DNS = nameserver.NameServer(
    # This host is known by IPv6 alone.
    "host-record=mv.test,fd00:1::1", "mx-host=mv.test,mv.test,10",
    "txt-record=mv.test,v=spf1 mx -all", "txt-record=_dmarc.mv.test,v=DMARC1; p=none",
    *(listed(address) for address in (client(0, 66), client(1, 66), SERVER[1])),
    "host-record=box.lan.test,10.3.0.20,fd00:3::20", "local=/example/",
    "txt-record=hard.example,v=spf1 ip4:10.3.0.10 ip6:fd00:3::10 -all",
    "txt-record=soft.example,v=spf1 ip4:10.3.0.10 ip6:fd00:3::10 ~all",
    "txt-record=_dmarc.soft.example,v=DMARC1; p=reject", address="::1")


def setUpModule():
    routed_network.make()
    DNS.start()
    harness.wait_for(lambda: say(client(0, 1)) and say(client(1, 1)), "the way to the client")


tearDownModule = DNS.stop


class Pages(harness.Story):
    def change_for_now(self, action, before, **members):
        """Saves a page, and saves it with other values when the test is over."""
        self.addCleanup(self.change, action, **{**members, **before})
        self.change(action, **members)


class Ports(Pages):
    def test_services_greet_by_both(self):
        for port, start in ((25, b"220 "), (587, b"220 "), (143, b"* OK")):
            for version in BOTH:
                with connect(client(version, 1), port) as connection:
                    self.assertEqual(connection.recv(4), start, (port, version))


class Clients(Pages):
    def test_who_may_relay(self):
        for login_required in (True, False):
            if not login_required:
                self.change_for_now("save_relay", {"smtp_auth_required": True},
                                    smtp_auth_required=False)
            for version in BOTH:
                own = SERVER[version], ("127.0.0.1", "::1")[version]
                for source in (client(version, 1), ROUTER[version], *own):
                    with self.subTest(source, login_required=login_required):
                        may = source in own and not login_required
                        said = say(source, "y@elsewhere.test")
                        self.assertEqual(said.startswith("250"), may, said)

    def test_access_lists(self):
        def forget(name, kind):
            self.change("delete_access",
                        deleteList=[{"type": CLIENT, "nameType": kind, "name": name}])

        self.addCleanup(command, "apply_access_setting")
        self.addCleanup(lambda: [forget(item["name"], item["name_type"])
                                 for item in read("load_access").json()["items"]])
        for name, kind, permission in (
                ("10.3.0.30", IP, "REJECT"), ("FD00:3:0::0:30", IP, "REJECT"),
                ("10.3.0.41/29", NETWORK, "REJECT"), ("fd00:3::41/124", NETWORK, "REJECT"),
                ("10.3.0.42/32", NETWORK, "OK"), ("fd00:3:0:0:0::42/128", NETWORK, "OK"),
                ("10.3.0.43", IP, "OK"), ("fd00:0003::43", IP, "OK"),
                ("box.lan.test", NAME, "REJECT")):
            self.change("add_access", name=name, nameType=kind, accessType=CLIENT,
                        permission=permission)
        self.assertEqual(command("apply_access_setting"), {"success": True})
        for version in BOTH:
            for number, want in ((30, "554"), (31, "250"), (40, "554"), (42, "250"), (43, "250"),
                                 (20, "554")):
                source = client(version, number)
                self.assertEqual(say(source)[:3], want, source)
        found = read("load_access&search_key=D00%3A3%3A%3A4").json()
        self.assertEqual([item["name"] for item in found["items"]],
                         ["fd00:3::40/124", "fd00:3::42/128", "fd00:3::43"])
        forget("fd00:3:0:0:0:0:0:30", IP)
        self.assertNotIn("fd00:3::30", str(read("load_access").json()))

    def test_blocklists_spf_and_dmarc(self):
        self.change("add_dnsb", **BLOCKLIST)
        self.addCleanup(self.change, "del_dnsb", dnsbList=[BLOCKLIST])
        page = read("load_security").json()
        checks = ("spam_dnsbl_enable", "enable_spf_check", "enable_dmarc")
        self.change_for_now("save_security", dict.fromkeys(checks, False),
                            **{**page, **dict.fromkeys(checks, True)})
        for version in BOTH:
            self.assertIn("blocked using ip.bl.test", say(client(version, 66)))
            for number, domain, want in ((10, "hard", 250), (11, "hard", 550), (10, "soft", 250),
                                         (11, "soft", 550)):
                sender = "x@%s.example" % domain
                text = "From: %s\nTo: %s\nSubject: policies\n\nA message.\n" % (sender, BOB)
                with smtp(client(version, number)) as talk:
                    code, words = harness.smtp_answer(
                        lambda: talk.sendmail(sender, [BOB], text), BOB)
                self.assertEqual(code, want, words)
                if code == 550:
                    self.assertIn({"hard": "SPF fail", "soft": "DMARC policy"}[domain], words)
        self.assertEqual(test_self_check.words()[0]["dns_blocklists"], "WARNING")

    def test_too_many_connections_of_one_client(self):
        self.change_for_now("save_relay", {"client_connection_rate_limit": 0},
                            client_connection_rate_limit=2)
        for version in BOTH:
            for number, want in ((71, b"220"), (71, b"220"), (71, b"421"), (72, b"220")):
                with connect(client(version, number), 25) as connection:
                    self.assertEqual(connection.recv(3), want, client(version, number))

    def test_closed_ports_are_closed_to_others(self):
        self.assert_saved(smtp_ssl_enabled=True)  # ports that change have the filter loaded
        with harness.listener(110), harness.listener(110, socket.AF_INET6):
            self.assertTrue(harness.answers(110) and harness.answers(110, "::1"))
            for version in BOTH:
                connect(client(version, 1), 465).close()
                with self.assertRaises(ConnectionRefusedError):
                    connect(client(version, 1), 110)


class Ways(Pages):
    def test_mail_leaves_by_ipv6(self):
        tls = CURRENT + "/tls/"
        login = "relay", "word"
        with RelayHost(2526, login, tls + "cert.pem", tls + "key.pem", "::1") as host, \
                fragment("main.cf", "smtp_tls_security_level = encrypt\n"):
            self.change_for_now(
                "save_relay", {"smtp_relay_enabled": False, "smtp_relay_auth": False},
                smtp_relay_enabled=True, smtp_relay_server="[::1]", smtp_relay_port=2526,
                smtp_relay_tls=True, smtp_relay_auth=True, smtp_relay_account=login[0],
                smtp_relay_password=login[1])
            harness.send("alice@" + DOMAIN, ["x@far.test"], "by six", 587, "alice")
            harness.wait_for(lambda: host.has("by six"), "the mail at the relay host")

    def test_the_self_check_of_a_host_known_by_ipv6_alone(self):
        words, _ = test_self_check.words()
        wrong = {key: word for key, word in words.items()
                 if word != ("OFF" if key in test_self_check.OFF else "OK")}
        self.assertEqual(wrong, {})

