"""mailvane-setup: what becomes of a machine's own Dovecot, and what people are told to reach."""
import unittest

from parts import sample
from mailvane.setup import dovecot, reach
from mailvane.setup.findings import Findings

DOVECOT = sample("doveconf-n")


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
