"""mailvane-setup: what it makes of the configuration of a machine's own mail server."""
import os
import sys
import tempfile
import unittest
from unittest import mock

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path[:0] = [TOP + "/tools/mailvane_setup", TOP + "/tools/mailvanectl"]

from ctl.reference import Usage
from setup import (aliases, domains, dovecot, files, logins, originals, ports, postfix, relay,
                   report, survey, tables, units)
from setup.findings import Findings

USERS = ("alice", "bob", "carol")


class Texts(unittest.TestCase):
    """What is read line by line."""

    def test_lists_and_tables(self):
        for got, wanted in (
            (postfix.words("a, b\tc,,{ x, y } d"), ["a", "b", "c", "{ x, y }", "d"]),
            (postfix.parse_parameters("a = b = c\nempty =\n"), {"a": "b = c", "empty": ""}),
            (tables.rows("# no\na@b.test  x, y\n  z\n\n@b.test\tc\n"),
             [("a@b.test", "x, y z"), ("@b.test", "c")]),
            (tables.alias_rows('a: b,\n  c\n# no\n"q r": "|/bin/p a, b", \\d\nroot:e\nnothing\n'),
             [("a", ["b", "c"]), ("q r", ["|/bin/p a, b", "\\d"]), ("root", ["e"])]),
            (tables.source_of("proxy:hash:/etc/x"), "/etc/x"),
            (logins.with_login(b"a:1\nab:2\nb:3", "a", "9"), b"ab:2\nb:3\na:9\n"),
            (units.parse("Id=a.service\nLoadState=loaded\nUnitFileState=enabled\nActiveState=active"
                         "\n\nId=b.service\nLoadState=not-found\nUnitFileState=\nActiveState=x\n"),
             {"a.service": {"enabled": "enabled", "active": True}}),
        ):
            self.assertEqual(got, wanted)
        for table in ("pcre:/etc/x", "ldap:/etc/x", "/etc/x", "unionmap:{hash:/a, hash:/b}"):
            self.assertRaises(tables.Unreadable, tables.source_of, table)

    def test_passwords_are_refused(self):
        for typed in ("", "123456789\n", "x" * 200 + "\n", "tab\there and there\n"):
            with mock.patch("sys.stdin") as stream:
                stream.isatty.return_value = False
                stream.readline.return_value = typed
                self.assertRaises(Usage, logins.ask_password, "alice")


def old(services="", options="", **parameters):
    """A configuration of Postfix."""
    return postfix.Postfix(parameters, parameters, postfix.parse_services(services, options))


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


class Aliases(unittest.TestCase):
    """Tables of two kinds become one list of names."""

    def find(self, local, virtual, virtual_domains=""):
        with tempfile.TemporaryDirectory() as folder:
            for name, text in (("aliases", local), ("virtual", virtual)):
                with open(folder + "/" + name, "w", encoding="utf-8") as file:
                    file.write(text)
            server = old(myhostname="mail.a.test", myorigin="a.test",
                         mydestination="a.test, b.test",
                         virtual_alias_domains=virtual_domains,
                         alias_maps="hash:%s/aliases" % folder,
                         virtual_alias_maps="hash:%s/virtual, pcre:/none" % folder)
            findings = Findings()
            routing = aliases.Routing(domains.find(server, findings), USERS.__contains__)
            aliases.find(server, routing, findings)
            aliases.take_over(routing, "admin", findings)
            return findings

    def test_what_an_alias_becomes(self):
        for local, virtual, wanted in (
            ("office: alice, bob@b.test, x@far.test\n", "",
             {"office": ["alice", "bob", "x@far.test"]}),
            ("postmaster: root\nclamav: root\n", "", {"clamav": ["admin"]}),
            ("postmaster: root\nroot: bob\n", "", {"postmaster": ["root"], "root": ["bob"]}),
            ("alice: \\alice, x@far.test\nbob: bob\n", "", {"alice": ["\\alice", "x@far.test"]}),
            ("", "info alice\ninfo@a.test alice\ninfo@b.test alice@b.test\n", {"info": ["alice"]}),
            ("all: \"|/bin/p a\", bob\nlist: :include:/etc/l\nfile: /var/x\ndaemon: www-data\n", "",
             {"all": ["bob"]}),
        ):
            findings = self.find(local, virtual)
            self.assertEqual((findings.aliases, findings.conflicts), (wanted, []), local + virtual)

    def test_what_cannot_be_one_is_named(self):
        findings = self.find("all: \"|/bin/p a\", bob\nlist: :include:/etc/l\na..b: bob\n",
                             "@a.test bob\nx@far.test bob\n")
        for part in ("alias all: |/bin/p a", "alias list: :include:/etc/l", "alias a..b: ",
                     "@a.test: ", "far.test is no domain", "pcre:/none"):
            self.assertTrue([line for line in findings.left if part in line], part)

    def test_names_that_differ_by_domain_stop_it(self):
        for local, virtual, main in (
            ("", "info@a.test alice\ninfo@b.test bob\n", {"info": ["alice"]}),
            ("info: alice\n", "info@b.test bob\n", {"info": ["alice"]}),
            ("", "alice@b.test bob\n", {}),
            ("", "alice@c.test bob\nc.test x\n", {}),
        ):
            findings = self.find(local, virtual, "c.test")
            self.assertEqual((len(findings.conflicts), findings.aliases), (1, main), virtual)
            self.assertEqual((len(findings.against(False)), findings.against(True)), (1, []))
        self.assertEqual(self.find("", "info@c.test bob\nc.test x\n", "c.test").conflicts, [])


class Ports(unittest.TestCase):
    def test_kinds_of_servers(self):
        rest = "%s inet n - y - - smtpd\n"
        for services, options, wanted in (
            (rest % "smtp", "", (25, None, None)),
            (rest % "25" + rest % "587" + rest % "465", "465/inet/smtpd_tls_wrappermode = yes",
             (25, 465, 587)),
        ):
            findings = Findings()
            ports.take_over(old(services, options), findings)
            self.assertEqual(tuple(findings.smtp.get(key) for key in (
                "smtp_port", "smtps_port", "smtp_tls_port")), wanted)
            self.assertEqual([findings.smtp["smtp_ssl_enabled"], findings.smtp["smtp_tls_enabled"]],
                             [port is not None for port in wanted[1:]])


DOVECOT = """\
mail_location = %s
protocols = " imap lmtp"
ssl = %s
namespace inbox {
  inbox = yes
  prefix =
}
passdb {
  driver = %s
}
service imap-login {
  inet_listener imap {
    port = 1143
  }
  inet_listener imaps {
    port = 993
  }
}
"""


class Mailboxes(unittest.TestCase):
    def test_ports_and_what_hides_mail(self):
        for values, tls, stops in ((("maildir:~/Maildir", "yes", "pam"), True, 0),
                                   (("maildir:~/Maildir", "no", "pam"), False, 0),
                                   (("mbox:~/mail:INBOX=/var/mail/%u", "yes", "pam"), True, 1),
                                   (("maildir:~/Maildir:LAYOUT=fs", "yes", "sql"), True, 2)):
            findings = Findings()
            dovecot.take_over(dovecot.parse(DOVECOT % values), findings)
            self.assertEqual(
                [findings.mailboxes[key] for key in (
                    "imap_enabled", "imap_port", "imaps_enabled", "pop3_enabled")],
                [True, 1143, tls, False])
            self.assertEqual(len(findings.stops), stops, findings.stops)


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
        survey.leave_others(old(ldap_bind_pw="hidden", milter_default_action="accept"), findings)
        relay.take_over(old(relayhost="[r.test]", smtp_sasl_auth_enable="yes",
                            smtp_sasl_password_maps="static:me:hidden"), findings)
        text = "\n".join(findings.left + report.show(findings, 0, [], False))
        self.assertNotIn("hidden", text)
        self.assertIn("milter_default_action = accept", text)


class Kept(unittest.TestCase):
    """Originals and the manifest."""

    def test_changes_are_told_and_copies_are_whole(self):
        with tempfile.TemporaryDirectory() as folder:
            config = folder + "/config"
            os.mkdir(config)
            for name in ("same", "changed", "gone"):
                files.replace("%s/%s" % (config, name), name.encode(), 0o640)
            os.symlink("same", config + "/link")
            with mock.patch.multiple(originals, FOLDERS=(config,), FILES=()):
                kept = originals.keep(folder + "/copies", [])
            files.replace(config + "/changed", b"x")
            os.unlink(config + "/gone")
            self.assertEqual(sorted(os.path.basename(path) for path in originals.changed(kept)),
                             ["changed", "gone"])
            copy = folder + "/copies" + config + "/gone"
            self.assertEqual((files.content(copy), os.stat(copy).st_mode & 0o777),
                             (b"gone", 0o640))


if __name__ == "__main__":
    unittest.main()
