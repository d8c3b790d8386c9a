"""The self-check: its words for a healthy server, for faults, and for a dead DNS."""
import os
import time

import harness
import nameserver
from harness import ETC, read
from machine import contents, say_recipient, stopped

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
       "mailscanner", "mailscanner_milter", "antivirus", "virus_signatures", "spam_rules",
       "config_mailscanner",
       "disk_quarantine", "directory_accounts", "config_opendkim", "config_opendmarc", "dns_dkim",
       "dns_blocklists", "relay_login", "web_login"}
MACHINE = {"packet_filter", "disk_queue", "disk_mail", "disk_logs", "disk_settings"}


def setUpModule():
    DNS.start()


tearDownModule = DNS.stop


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


def told():
    """The words, unless a check had no answer in time, which on a busy machine means nothing."""
    found, _ = words()
    return found if "UNKNOWN" not in found.values() else None


class SelfCheck(harness.Story):
    def setUp(self):
        super().setUp()
        self.log = harness.SystemLog()

    def assert_not_ok(self, **wanted):
        """The words that are neither OK nor off by default, the log naming each."""
        found = harness.wait_for(told, "answers in time")
        self.assertEqual({key: word for key, word in found.items()
                          if word != ("OFF" if key in OFF else "OK")}, wanted)
        lines = "\n".join(self.log.lines())
        for key, word in wanted.items():
            if word not in ("OK", "OFF"):
                self.assertIn("self-check: %s is %s: " % (key, word), lines)

    def test_a_healthy_server(self):
        self.assert_not_ok()

    def test_what_it_asks_the_mail_server_is_no_mail(self):
        words()
        self.assertIn(" to=<somebody@self-check.invalid> ", contents("/var/log/mailvane/maillog"))
        say_recipient("later@self-check.invalid", source="127.0.0.2")
        rows = harness.wait_for(lambda: read("load_log&limit=50").json()["items"], "an entry")
        self.assertEqual({row["mail_to"] for row in rows}, {"later@self-check.invalid"})

    def test_a_name_that_the_dns_tells_otherwise(self):
        self.assert_saved(smtp_hostname="renamed.test")
        self.assert_not_ok(dns_reverse="WARNING", dns_mx="WARNING")

    def test_a_hanging_server_and_a_dead_dns_are_not_waited_for(self):
        master = harness.pid_of("/run/dovecot/master.pid")
        with DNS.silent(), stopped(master):
            found, seconds = words()
        self.assertLess(seconds, 20, "ten, and as much again on a busy machine")
        self.assertEqual({word for key, word in found.items()
                          if key.startswith("dns_") and key not in OFF}, {"UNKNOWN"})
        self.assertEqual((found["dovecot"], found["imap_port"]), ("OK", "FAILED"))
        self.assertEqual((found["postfix"], found["config_postfix"], found["mail_queue"]),
                         ("OK", "OK", "OK"))

    def test_domains_and_blocklists(self):
        lists = [{"server": name, "type": "rbl_client"}
                 for name in ("refusing.bl.test", "listing.bl.test")]
        self.change("save_relay", spam_dnsbl_enable=True)
        self.addCleanup(self.change, "save_relay", spam_dnsbl_enable=False)
        self.addCleanup(self.change, "del_dnsb", dnsbList=lists)
        for domain, one, mx, blocked in (("elsewhere-mx.test", lists[0], "WARNING", "OK"),
                                         ("no-mx.test", lists[1], "FAILED", "WARNING")):
            self.change("add_domain", domain=domain)
            self.change("add_dnsb", **one)
            self.assert_not_ok(dns_mx=mx, dns_spf="WARNING", dns_dmarc="WARNING",
                               dns_blocklists=blocked)
            self.change("delete_domain", domainList=[{"domain": domain}])

    def test_filters(self):
        switches = ("enable_dkim", "enable_dmarc", "reject_sasl_sender_rate_exceed")
        filters = {key: "OK" for key in ("opendkim", "opendmarc", "memcached", "config_opendkim",
                                         "config_opendmarc")}
        page = read("load_security").json()
        del page["success"]
        self.addCleanup(self.change, "save_security", **{**page, **dict.fromkeys(switches, False)})
        self.change("save_security", **{**page, **dict.fromkeys(switches, True)})
        key = read("load_security").json()["dkim_public_key"]
        self.assert_not_ok(dns_dkim="FAILED", **filters)

        record = "txt-record=mail._domainkey.mv.test,v=DKIM1; k=rsa; p="
        self.addCleanup(DNS.start)
        DNS.stop()
        for published, word in (("AAAA", "FAILED"), (key, "OK")):
            dns = nameserver.NameServer(*RECORDS, record + published)
            dns.start()
            try:
                self.assert_not_ok(dns_dkim=word, **filters)
            finally:
                dns.stop()

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
