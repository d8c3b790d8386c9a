"""The pages of the mail domains and of the DNS blocklists."""
import smtplib

import nameserver
from harness import DOMAIN, delivered, read, send
from machine import say_recipient
from pages import Pages

BOB = "bob@" + DOMAIN

DNS = nameserver.NameServer(
    "address=/66.113.0.203.ip.bl.test/127.0.0.2",
    "address=/67.113.0.203.ip.bl.test/127.255.255.254",
    "address=/evilsender.test.from.bl.test/127.0.1.2",
    "address=/badhelo.test.helo.bl.test/127.0.0.9")


def setUpModule():
    nameserver.local_network("203.0.113.0/24")
    DNS.start()


tearDownModule = DNS.stop


class Domains(Pages):
    def domains(self):
        return [item["domain"] for item in read("enum_domain").json()["items"]]

    def assert_unknown(self, address):
        with self.assertRaises(smtplib.SMTPRecipientsRefused) as refusal:
            send("x@elsewhere.test", [address], "refused")
        self.assertIn("Relay access denied", str(refusal.exception))

    def test_mail_for_a_domain_comes_and_goes_with_it(self):
        self.assert_unknown("bob@second.test")
        self.change("add_domain", domain="Second.TEST")
        send("x@elsewhere.test", ["bob@second.test"], "to the second domain")
        delivered("bob", "to the second domain")
        self.assert_unknown("bob@sub.second.test")

        self.change("edit_domain", orgDomain="second.test", newDomain="third.test")
        self.assertEqual(self.domains(), ["third.test"])
        self.assert_unknown("bob@second.test")
        send("x@elsewhere.test", ["bob@third.test"], "to the third domain")
        delivered("bob", "to the third domain")

        self.change("delete_domain", domainList=[{"domain": "third.test"}])
        self.assertEqual(self.domains(), [])
        self.assert_unknown("bob@third.test")
        send("x@elsewhere.test", [BOB], "to the first domain")

    def test_a_login_owns_its_addresses_in_every_domain(self):
        self.change("add_domain", domain="second.test")
        self.assert_saved(restrict_sender=True)
        send("alice@second.test", [BOB], "from the second domain", port=587, login="alice")
        self.change("delete_domain", domainList=[{"domain": "second.test"}])
        with self.assertRaises(smtplib.SMTPException):
            send("alice@second.test", [BOB], "no more", port=587, login="alice")

    def test_names_that_are_no_mail_domain(self):
        for name in ("", "nodots", "two words.test", "a..test", "-a.test", "x.test, evil.test",
                     "x.test\ny.test", "$myhostname.test", "a" * 64 + ".test", "<b>.test",
                     "192.0.2.1", "ü..test"):
            with self.subTest(name):
                self.assert_refused("add_domain", domain=name)
                self.assert_refused("edit_domain", orgDomain="x.test", newDomain=name)


    def test_a_name_in_another_script_is_one_domain_however_it_is_written(self):
        def listed():
            return [item["domain"] for item in read("enum_domain").json()["items"]]

        self.change("add_domain", domain="Bücher.test")
        self.change("add_domain", domain="xn--bcher-kva.test")
        self.assertEqual(listed(), ["xn--bcher-kva.test"])
        self.change("edit_domain", orgDomain="bücher.test", newDomain="пример.test")
        self.assertEqual(listed(), ["xn--e1afmkfd.test"])
        self.change("delete_domain", domainList=[{"domain": "ПРИМЕР.test"}])
        self.assertEqual(listed(), [])


class Blocklists(Pages):
    def setUp(self):
        super().setUp()
        self.entries = [{"server": "ip.bl.test", "type": "rbl_client"},
                        {"server": "from.bl.test", "type": "rhsbl_sender"},
                        {"server": "helo.bl.test", "type": "rhsbl_helo"}]
        for entry in self.entries:
            self.change("add_dnsb", **entry)
        self.addCleanup(self.change, "del_dnsb", dnsbList=self.entries)

    def test_what_is_listed_is_refused(self):
        listed = {"source": "203.0.113.66", "sender": "x@evilsender.test", "helo": "badhelo.test"}
        for what, value in listed.items():
            self.assertEqual(say_recipient(BOB, **{what: value})[:3], "250", "lists are off")

        self.change("save_relay", spam_dnsbl_enable=True)
        for (what, value), entry in zip(listed.items(), self.entries):
            with self.subTest(what):
                said = say_recipient(BOB, **{what: value})
                self.assertTrue(said.startswith("554 5.7.1"), said)
                self.assertIn("blocked using " + entry["server"], said)
        self.assertEqual(say_recipient(BOB)[:3], "250", "not listed")
        self.assertEqual(say_recipient(BOB, source="203.0.113.67")[:3], "250", "no listing")

        self.change("del_dnsb", dnsbList=self.entries[:1])
        self.assertEqual(say_recipient(BOB, source="203.0.113.66")[:3], "250")
        self.assertEqual(read("enum_dnsb").json()["items"], self.entries[1:])

    def test_what_is_no_list_is_refused(self):
        self.assert_refused("add_dnsb", server="ip.bl.test", type="rbl_friend")
        self.assert_refused("add_dnsb", server="ip.bl.test, permit", type="rbl_client")
