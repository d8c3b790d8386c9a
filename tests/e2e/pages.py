"""What the tests of the mail services' pages share."""
import harness
from harness import ETC, post, read, snapshot


class Pages(harness.Story):
    """Puts mailbox and relay pages back as they were."""

    def setUp(self):
        super().setUp()
        mailbox = read("load_imap_pop3").json()
        del mailbox["success"]
        self.addCleanup(self.change, "save_imap_pop3", **mailbox)
        self.addCleanup(self.change, "save_relay", smtp_relay_enabled=False, smtp_relay_auth=False,
                        spam_dnsbl_enable=False)

    def assert_refused(self, action, **members):
        """A save that is refused changes nothing."""
        before = snapshot(ETC)
        self.assert_system_error(post({"action": action, **members}).json())
        self.assertEqual(snapshot(ETC), before)
