"""The self-check: its words for a healthy server, for faults, and for a dead DNS."""
import os
import time
import unittest

import harness
import nameserver
from harness import ETC, post, read
from machine import stopped

HOST = "192.0.2.10"
RECORDS = (
    "host-record=mv.test," + HOST, "ptr-record=10.2.0.192.in-addr.arpa,mv.test",
    "address=/renamed.test/192.0.2.11", "mx-host=mv.test,mv.test,10",
    "txt-record=mv.test,v=spf1 mx -all", "txt-record=_dmarc.mv.test,v=DMARC1; p=none",
    "mx-host=elsewhere-mx.test,mx.other.test,10",
    "host-record=10.2.0.192.refusing.bl.test,127.255.255.254",
    "host-record=10.2.0.192.listing.bl.test,127.0.0.2")
DNS = nameserver.NameServer(*RECORDS)

# Those that the default settings switch off, and those that depend on the machine below the world.
OFF = {"opendkim", "opendmarc", "memcached", "smtps_port", "imaps_port", "pop3_port", "pop3s_port",
       "mailscanner", "mailscanner_milter", "antivirus", "virus_signatures", "config_mailscanner",
       "disk_quarantine", "directory_accounts", "config_opendkim", "config_opendmarc", "dns_dkim",
       "dns_blocklists"}
MACHINE = {"packet_filter", "disk_queue", "disk_mail", "disk_logs", "disk_settings"}


def setUpModule():
    DNS.start()


def tearDownModule():
    DNS.stop()


def words():
    """The word of each check, and how long all took."""
    start = time.monotonic()
    answer = read("mailvane_check").json()
    if answer.get("success") is not True:
        raise AssertionError(answer)
    found = {item["key"]: item["status"] for item in answer["settings"]}
    for key in MACHINE:
        found.pop(key)
    return found, time.monotonic() - start


class SelfCheck(harness.Story):
    def setUp(self):
        super().setUp()
        self.log = harness.SystemLog()

    def assert_not_ok(self, **wanted):
        """The words that are neither OK nor off by default, the log naming each."""
        found, _ = words()
        self.assertEqual({key: word for key, word in found.items()
                          if word != ("OFF" if key in OFF else "OK")}, wanted)
        lines = "\n".join(self.log.lines())
        for key, word in wanted.items():
            if word not in ("OK", "OFF"):
                self.assertIn("self-check: %s is %s: " % (key, word), lines)

    def test_a_healthy_server(self):
        self.assert_not_ok()
        self.assertEqual([line for line in self.log.lines() if "self-check" in line], [])

    def test_a_name_that_the_dns_tells_otherwise(self):
        self.assert_saved(smtp_hostname="renamed.test")
        self.assert_not_ok(dns_reverse="WARNING", dns_mx="WARNING")
        self.assert_saved(smtp_hostname="nowhere.test")
        self.assert_not_ok(dns_address="WARNING", dns_reverse="WARNING", dns_mx="WARNING")

    def test_a_server_that_does_not_run(self):
        self.assertEqual(harness.control("dovecot", "stop"), 0)
        try:
            self.assert_not_ok(dovecot="FAILED", imap_port="FAILED")
        finally:
            self.assertEqual(harness.control("dovecot", "start"), 0)

    def test_a_hanging_server_and_a_dead_dns_take_no_ten_seconds(self):
        master = harness.pid_of("/run/dovecot/master.pid")
        with DNS.silent(), stopped(master):
            found, seconds = words()
        self.assertLess(seconds, 10)
        self.assertEqual({word for key, word in found.items()
                          if key.startswith("dns_") and key not in OFF}, {"UNKNOWN"})
        self.assertEqual((found["dovecot"], found["imap_port"]), ("OK", "FAILED"))
        self.assertEqual((found["postfix"], found["config_postfix"], found["mail_queue"]),
                         ("OK", "OK", "OK"))

    def test_domains_and_blocklists(self):
        self.addCleanup(self.forget_domains_and_blocklists)
        for change in (
            {"action": "add_domain", "domain": "elsewhere-mx.test"},
            {"action": "add_dnsb", "server": "refusing.bl.test", "type": "rbl_client"},
            {"action": "save_relay", "spam_dnsbl_enable": True},
        ):
            self.assertTrue(post(change).json()["success"], change)
        self.assert_not_ok(dns_mx="WARNING", dns_spf="WARNING", dns_dmarc="WARNING",
                           dns_blocklists="OK")
        for change in (
            {"action": "edit_domain", "orgDomain": "elsewhere-mx.test", "newDomain": "no-mx.test"},
            {"action": "add_dnsb", "server": "listing.bl.test", "type": "rbl_client"},
        ):
            self.assertTrue(post(change).json()["success"], change)
        self.assert_not_ok(dns_mx="FAILED", dns_spf="WARNING", dns_dmarc="WARNING",
                           dns_blocklists="WARNING")

    def forget_domains_and_blocklists(self):
        lists = ("refusing.bl.test", "listing.bl.test")
        for change in (
            {"action": "delete_domain",
             "domainList": [{"domain": "elsewhere-mx.test"}, {"domain": "no-mx.test"}]},
            {"action": "del_dnsb",
             "dnsbList": [{"server": name, "type": "rbl_client"} for name in lists]},
            {"action": "save_relay", "spam_dnsbl_enable": False},
        ):
            self.assertTrue(post(change).json()["success"], change)

    def secure(self, **changes):
        page = read("load_security").json()
        self.assertTrue(post({**page, "action": "save_security", **changes}).json()["success"])
        return read("load_security").json()

    def test_filters(self):
        switches = ("enable_dkim", "enable_dmarc", "reject_sasl_sender_rate_exceed")
        filters = {key: "OK" for key in ("opendkim", "opendmarc", "memcached", "config_opendkim",
                                         "config_opendmarc")}
        self.addCleanup(self.secure, **{name: False for name in switches})
        page = self.secure(**{name: True for name in switches})
        self.assert_not_ok(dns_dkim="FAILED", **filters)

        record = "txt-record=mail._domainkey.mv.test,v=DKIM1; k=rsa; p="
        for key, word in (("AAAA", "FAILED"), (page["dkim_public_key"], "OK")):
            DNS.stop()
            dns = nameserver.NameServer(*RECORDS, record + key)
            dns.start()
            try:
                self.assert_not_ok(dns_dkim=word, **filters)
            finally:
                dns.stop()
                DNS.start()

        for service, pid_file in (("opendkim", "opendkim.pid"), ("opendmarc", "opendmarc.pid"),
                                  ("memcached", "memcached/pid")):
            pid = harness.pid_of("/run/mailvane/" + pid_file)
            with stopped(pid):
                self.assertEqual(words()[0][service], "FAILED")

    def test_certificates(self):
        certificate, key = ETC + "/tls/cert.pem", ETC + "/tls/key.pem"
        harness.run("/usr/bin/openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                    "ec_paramgen_curve:prime256v1", "-nodes", "-days", "5", "-subj", "/CN=mv.test",
                    "-keyout", key, "-out", certificate)
        try:
            self.assert_saved(smtp_ssl_enabled=True)
            self.assert_not_ok(smtps_port="OK", certificate_age="WARNING")
            harness.run("/usr/bin/openssl", "ecparam", "-name", "prime256v1", "-genkey", "-out",
                        key)
            self.assertEqual(words()[0]["certificate_key"], "FAILED")
        finally:
            os.unlink(certificate)
            os.unlink(key)

    def test_a_server_that_is_switched_off(self):
        self.assert_saved(smtp_enabled=False)
        self.assertEqual(read("mailvane_check").json(),
                         {"success": False,
                          "errinfo": {"sec": "diagnose", "key": "smtp_is_not_enabled"}})
        self.assertEqual([line for line in self.log.lines() if "self-check" in line], [])


if __name__ == "__main__":
    unittest.main()
