"""mailvane-setup: what it makes of the configuration of a machine's own mail server."""
import hashlib
import os
import sys
import tempfile
import unittest
from unittest import mock

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, TOP + "/tools")

from mailvane.common import files, passwords
from mailvane.common.errors import Usage
from mailvane.setup import (aliases, companions, domains, dovecot, listeners, logins, originals,
                            ports, postfix, reach, relay, report, shipped, survey, tables, units)
from mailvane.setup.findings import Findings

USERS = ("alice", "bob", "carol")


SOCKETS = """\
LISTEN 0      1024   0.0.0.0:80    0.0.0.0:* users:(("lighttpd",pid=35,fd=5))
LISTEN 0      4096   [::1]:783     [::]:*    users:(("spamd",pid=50,fd=5),("spamd",pid=51,fd=5))
LISTEN 0      4096   127.0.0.1:99  0.0.0.0:*
"""


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
            (listeners.parse(SOCKETS), [("0.0.0.0", "80", "lighttpd", "35"),
                                        ("[::1]", "783", "spamd", "50")]),
        ):
            self.assertEqual(got, wanted)
        for table in ("pcre:/etc/x", "ldap:/etc/x", "/etc/x", "unionmap:{hash:/a, hash:/b}"):
            self.assertRaises(tables.Unreadable, tables.source_of, table)

    def test_passwords_are_refused(self):
        for typed in ("", "123456789\n", "x" * 200 + "\n", "tab\there and there\n"):
            with mock.patch("sys.stdin") as stream:
                stream.isatty.return_value = False
                stream.readline.return_value = typed
                self.assertRaises(Usage, passwords.ask, "alice", "the web")


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


# What `postconf -n` prints where Debian's package is installed: with the answer "Internet Site", and
# what differs with others. The file that it starts from says the rest.
INTERNET_SITE = """\
alias_database = hash:/etc/aliases
alias_maps = hash:/etc/aliases
biff = no
inet_interfaces = all
inet_protocols = all
mailbox_command = procmail -a "$EXTENSION"
mailbox_size_limit = 0
mydestination = $myhostname, mail.a.test, localhost.a.test, , localhost
myhostname = mail.a.test
mynetworks = 127.0.0.0/8 [::ffff:127.0.0.0]/104 [::1]/128
recipient_delimiter = +
relayhost =
smtp_tls_session_cache_database = btree:${data_directory}/smtp_scache
smtpd_relay_restrictions = permit_mynetworks permit_sasl_authenticated defer_unauth_destination
"""
LOCAL_ONLY = {"inet_interfaces": "loopback-only", "default_transport": "error",
              "relay_transport": "error"}
MAIN_CF = """\
# biff = yes
biff = no
smtp_tls_session_cache_database = btree:${data_directory}/smtp_scache
"""
MASTER_CF = """\
# ==========
smtp      inet  n       -       y       -       -       smtpd
#submission inet n       -       y       -       -       smtpd
#  -o syslog_name=postfix/submission
pickup    unix  n       -       y       60      1       pickup
relay     unix  -       -       y       -       -       smtp
        -o syslog_name=postfix/$service_name
"""


class WithFiles(unittest.TestCase):
    """Tests that have a folder of their own."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def write(self, name, text):
        """A file below the folder; its path."""
        path = os.path.join(self.folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        files.replace(path, text.encode())
        return path


class Unconfigured(WithFiles):
    """What Debian's packages have set is told from what somebody has configured."""

    def test_answers_of_debconf_are_nobodys_wish(self):
        brought = shipped.parameters((self.write("main.cf.debian", MAIN_CF),))
        master = self.write("master.cf.dist", MASTER_CF)
        grown = "smtp inet n - y - - smtpd\npolicy unix - n n - 0 spawn\n"
        for changes, services, configured, opened in (
                ({}, grown, False, [True]), (LOCAL_ONLY, grown, False, [True]),
                ({"biff": "yes"}, grown, True, [True]),
                ({"relayhost": "smtp.a.test"}, grown, True, [True]),
                ({"mailbox_command": "/opt/mine"}, grown, True, [True]),
                ({"mynetworks": "10.0.0.0/8"}, grown, True, [True]),
                ({}, grown + "465 inet n - y - - smtpd", False, [True, False])):
            server = old(services, "465/inet/smtpd_tls_wrappermode = yes\n",
                         **{**postfix.parse_parameters(INTERNET_SITE), **changes})
            findings = Findings()
            survey.take_doors(server, brought, postfix.has_shipped_doors(server, master), findings)
            self.assertEqual(("smtp_auth_required" in findings.smtp, findings.defaults == []),
                             (configured, configured), changes)
            self.assertEqual(findings.smtp["smtp_tls_enabled"], opened[-1], services)

    def test_dovecot_is_untouched_while_what_it_reads_is(self):
        path = self.write("dovecot/conf.d/10-mail.conf", "shipped")
        listed = self.write("hashfile", "%s  %s\n" % (
            hashlib.md5(b"shipped").hexdigest(), path))
        for name, text, wanted in (("10-mail.conf", "shipped", True),
                                   ("10-mail.conf~", "a copy", True),
                                   ("10-mail.conf.ucf-dist", "newer", True),
                                   ("10-mail.conf", "mine", False), ("10-mail.conf", "shipped", True),
                                   ("99-own.conf", "mine", False)):
            self.write("dovecot/conf.d/" + name, text)
            self.assertEqual(dovecot.untouched(self.folder + "/dovecot", listed), wanted, name)
        os.unlink(self.folder + "/dovecot/conf.d/99-own.conf")
        os.unlink(path)
        self.assertFalse(dovecot.untouched(self.folder + "/dovecot", listed))


class CameAlong(WithFiles):
    """Services that Debian has started: those that nobody wanted end."""

    def look(self, package="web", state="enabled", values=()):
        """Whether it ends, and why not."""
        conffile = self.folder + "/web/web.conf"
        digest = hashlib.md5(b"as it came").hexdigest()
        known = companions.Companion("web", (self.folder + "/web",), {
            self.folder + "/web/enabled.conf": self.folder + "/shipped.conf"}, ":8461")
        with mock.patch.multiple(companions, KNOWN=(known,), OWN_UNITS=self.folder + "/units/",
                                 ENABLED_BY_PACKAGE=self.folder + "/%s.by-package"), \
                mock.patch.object(shipped, "conffiles", lambda: shipped.parse_conffiles(
                    "web\n %s %s\n %s/gone 0 obsolete\nmodule\n %s/web/module.conf %s\n\n" % (
                        conffile, digest, self.folder, self.folder, digest))):
            return companions.look({"web.service": {"enabled": state, "active": True}}, {package},
                                   list(values))

    def test_nothing_that_was_wanted_ends(self):
        self.write("web/web.conf", "as it came")
        self.write("web/module.conf", "as it came")
        self.write("web.service.by-package", "")
        self.write("shipped.conf", "x")
        self.write("web/enabled.conf", "x")
        self.assertEqual(self.look(), (["web.service"], {}))
        self.assertEqual(self.look(state="generated"), (["web.service"], {}))
        for arguments in ({"package": "another"}, {"state": "disabled"},
                          {"values": ["socketmap:inet:127.0.0.1:8461:postfix"]}):
            self.assertEqual(self.look(**arguments)[0], [], arguments)
        for name, text, after in (("web/web.conf", "mine", "as it came"),
                                  ("web/site.conf", "mine", None), ("web/enabled.conf", "y", "x"),
                                  ("units/web.service.d/own.conf", "mine", None),
                                  ("units/web.service", "mine", None)):
            path = self.write(name, text)
            self.assertEqual(self.look()[0], [], name)
            if after is None:
                os.unlink(path)
            else:
                self.write(name, after)
        os.unlink(self.folder + "/web.service.by-package")
        self.assertEqual(self.look()[0], [])


class Reach(unittest.TestCase):
    def test_services_that_are_off_and_names(self):
        smtp = {"smtp_hostname": "mail.a.test", "acc_domain_name": "", "smtp_enabled": False,
                "smtp_port": 25, "smtp_tls_enabled": True, "smtp_tls_port": 587,
                "smtp_ssl_enabled": False, "smtps_port": 465}
        boxes = {"imap_enabled": True, "imap_port": 1143, "imaps_enabled": True, "imaps_port": 993,
                 "pop3_enabled": False, "pop3s_enabled": False}
        pages = {"smtp": smtp, "imap_pop3": boxes, "domains": ["b.test"]}
        text = "\n".join(reach.show(pages))
        for part in ("IMAP         port 1143", "NAME@mail.a.test", "NAME@b.test",
                     "edit imap_pop3 pop3_enabled=yes", "edit smtp smtp_enabled=yes"):
            self.assertIn(part, text)
        self.assertNotIn("port 587", text)
        smtp.update(smtp_enabled=True, acc_domain_name="a.test")
        text = "\n".join(reach.show(pages))
        self.assertIn("port 587", text)
        self.assertIn("NAME@a.test", text)


DOVECOT = """\
mail_location = %s
protocols = " imap lmtp pop3"
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
            dovecot.take_over(dovecot.parse(DOVECOT % values), findings, {"dovecot-pop3d"})
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
        survey.leave_others(old(ldap_bind_pw="hidden", milter_default_action="accept"), {}, findings)
        relay.take_over(old(relayhost="[r.test]", smtp_sasl_auth_enable="yes",
                            smtp_sasl_password_maps="static:me:hidden"), findings)
        text = "\n".join(findings.left + report.show(findings, False, lambda *_: ""))
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
