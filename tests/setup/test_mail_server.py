"""mailvane-setup: what becomes of the settings of a machine's own Postfix."""
import unittest

from parts import old
from mailvane.setup import domains, ports, relay, report, survey
from mailvane.setup.findings import Findings


class Relay(unittest.TestCase):
    def test_hosts_and_ports(self):
        for text, wanted in (("[relay.test]:587", ("relay.test", 587)),
                             ("relay.test", ("relay.test", 25)),
                             ("relay.test:submission", ("relay.test", 587)),
                             ("[2001:db8::1]:26", ("2001:db8::1", 26)),
                             ("relay.test:nothing-known", ("relay.test", 0))):
            self.assertEqual(relay.parse(text), wanted)

    def test_logins(self):
        rows = [("[relay.test]:587", "me:a:b c"), ("plain.test", "you:x"), ("none.test", "word")]
        for host, wanted in (("[relay.test]:587", ("me", "a:b c")), ("relay.test:587", None),
                             ("[plain.test]:26", ("you", "x")), ("none.test", None)):
            self.assertEqual(relay.login(host, rows), wanted)

    def test_encryption_is_never_weakened(self):
        for level, wanted in (("", False), ("may", False), ("encrypt", True), ("secure", True),
                              ("dane-only", True)):
            findings = Findings()
            relay.take_over(old(relayhost="[r.test]:587", smtp_tls_security_level=level), findings)
            self.assertEqual(findings.relay["smtp_relay_tls"], wanted, level)


class Logins(unittest.TestCase):
    def test_what_people_could_send_goes_on(self):
        smtp = "smtp inet n - y - - smtpd"
        both = smtp + "\nsubmission inet n - y - - smtpd"
        at_submission = "submission/inet/smtpd_sasl_auth_enable = yes"
        for services, options, parameters, wanted in (
                (smtp, "", {}, (None, False)),
                (smtp, "", {"smtpd_sasl_auth_enable": "yes"}, (False, True)),
                (both, at_submission, {}, (False, False))):
            findings = Findings()
            ports.take_logins(old(services, options, **parameters), findings)
            self.assertEqual((findings.smtp.get("restrict_sender"), findings.port_logins), wanted)

    def test_a_server_that_told_names_is_said_to_fall_silent(self):
        for value, wanted in (("yes", []), ("no", ["main.cf: disable_vrfy_command = no"])):
            findings = Findings()
            survey.leave_others(old(disable_vrfy_command=value), {}, findings)
            self.assertEqual(findings.left, wanted)


class DomainNames(unittest.TestCase):
    def test_main_and_further_domains(self):
        for parameters, wanted in (
            ({"myhostname": "mail.a.test", "myorigin": "a.test",
              "mydestination": "mail.a.test, a.test, localhost, b.test"}, ("a.test", ["b.test"])),
            ({"myhostname": "a.test", "mydestination": "a.test localhost.a.test localdomain vm",
              "myorigin": "a.test"}, ("", [])),
            ({"myhostname": "mail.a.test", "mydestination": "localhost", "myorigin": "mail.a.test",
              "virtual_alias_domains": "c.test d.test"}, ("c.test", ["d.test"])),
        ):
            findings = Findings()
            domains.take_over(domains.find(old(**parameters), findings), findings)
            self.assertEqual((findings.smtp["acc_domain_name"], findings.domains), wanted)


class Ports(unittest.TestCase):
    def test_kinds_of_servers(self):
        rest = "%s inet n - y - - smtpd\n"
        for services, options, wanted in (
            (rest % "smtp", "", (25, None, None)),
            (rest % "25" + rest % "587" + rest % "465", "465/inet/smtpd_tls_wrappermode = yes",
             (25, 465, 587)),
            (rest % "25" + rest % "465", "465/inet/smtpd_tls_wrappermode = yes", (25, 465, None)),
            (rest % "25" + rest % "127.0.0.1:10025", "", (25, None, None)),
        ):
            findings = Findings()
            ports.take_over(old(services, options), findings)
            self.assertEqual(tuple(findings.smtp.get(key) for key in (
                "smtp_port", "smtps_port", "smtp_tls_port")), wanted)
            self.assertEqual(
                [findings.smtp["smtp_ssl_enabled"], findings.smtp["smtp_tls_enabled"]],
                [wanted[1] is not None, wanted[2] is not None or wanted[1] is None], services)


class Delivery(unittest.TestCase):
    def test_what_stops_it(self):
        usual = {"queue_directory": "/var/spool/postfix"}
        for parameters, stops in (({}, 0), ({"home_mailbox": "Maildir/"}, 0),
                                  ({"home_mailbox": "Mail/"}, 1),
                                  ({"virtual_mailbox_domains": "a.test"}, 1),
                                  ({"queue_directory": "/srv/queue"}, 1)):
            findings = Findings()
            survey.look_at_delivery(old(**{**usual, **parameters}), findings)
            self.assertEqual(len(findings.stops), stops, parameters)

    def test_no_password_is_shown(self):
        findings = Findings()
        survey.leave_others(old(ldap_bind_pw="hidden", milter_default_action="accept"), {}, findings)
        relay.take_over(old(relayhost="[r.test]", smtp_sasl_auth_enable="yes",
                            smtp_sasl_password_maps="static:me:hidden"), findings)
        text = "\n".join(findings.left + report.show(findings, False, lambda *_: ""))
        self.assertNotIn("hidden", text)
        self.assertIn("milter_default_action = accept", text)
