"""mailvane-setup: what Debian's packages have set and started, and what is kept of a machine."""
import hashlib
import os
import tempfile
import unittest
from unittest import mock

from parts import WithFiles, old, sample
from mailvane.common import files
from mailvane.setup import companions, dovecot, originals, postfix, shipped, survey
from mailvane.setup.findings import Findings


# What `postconf -n` prints where Debian's package is installed: with the answer "Internet Site", and
# what differs with others. The file that it starts from says the rest.
INTERNET_SITE = sample("postconf-n")
LOCAL_ONLY = {"inet_interfaces": "loopback-only", "default_transport": "error",
              "relay_transport": "error"}
MAIN_CF = sample("main.cf")
MASTER_CF = sample("master.cf")


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
