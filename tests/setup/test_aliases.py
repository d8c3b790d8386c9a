"""mailvane-setup: what becomes of a machine's own aliases."""
import tempfile
import unittest

from parts import old
from mailvane.setup import aliases, domains
from mailvane.setup.findings import Findings

USERS = ("alice", "bob", "carol")


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
