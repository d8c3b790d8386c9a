"""What the web server serves, and who changed what."""
import imaplib
import subprocess

import harness
from harness import ETC, post, read, request, snapshot

class Web(harness.Story):
    def test_only_program_and_console_are_served(self):
        for path in ("/mailvane", "/console", "/etc/htpasswd", "/../../etc/htpasswd"):
            self.assertEqual(request(path).status, 404, path)

    def test_a_page_that_asks_no_database_starts_without_its_library(self):
        self.assertNotIn("sqlite", harness.run("/usr/bin/ldd", harness.PROGRAM))
        self.assertIs(read("alias_enum").json()["success"], True)  # asks one

    def test_an_administrator_is_made(self):
        def make(password):
            return subprocess.run([harness.TARGET + "/bin/mailvane-setup", "admin", "dorothea"],
                                  input=password, text=True, check=False,
                                  timeout=harness.PATIENCE).returncode

        before = snapshot(ETC)
        self.assertEqual((make("too short\n"), make("")), (2, 2))
        self.assertEqual(snapshot(ETC), before)
        self.assertEqual(read("load_smtp", user="dorothea").status, 401)
        self.assertEqual(make("pw-dorothea\ntoo short\n"), 2)
        self.assertEqual(snapshot(ETC), before)
        self.assertEqual(make("pw-dorothea\nof-her-mailbox\n"), 0)
        self.assertEqual(read("load_smtp", user="dorothea").status, 200)
        self.assertEqual([self.opens_mailbox("dorothea", password)
                          for password in ("pw-dorothea", "of-her-mailbox")], [False, True])

    @staticmethod
    def opens_mailbox(user, password):
        with imaplib.IMAP4("127.0.0.1", timeout=harness.PATIENCE) as client:
            client.starttls(harness.unverified())
            try:
                return client.login(user, password)[0] == "OK"
            except client.error:
                return False

    def test_changes_are_logged_in_one_line_each_and_secrets_are_not(self):
        def line(user, action, result):
            return 'user "%s", address 127.0.0.1, action %s: %s' % (user, action, result)

        log = harness.SystemLog()
        read("load_smtp")
        harness.save(smtp_hostname="audited.test", smtp_tls_enabled=False)
        harness.save(smtp_port=587, smtp_tls_port=587, smtp_tls_enabled=True)
        post({"action": "save_relay", "smtp_relay_auth": True, "smtp_relay_server": "r.test",
              "smtp_relay_account": "me", "smtp_relay_password": "pw-secret"})
        post({"action": "nonsense"})
        lines = harness.wait_for(lambda: len(log.audit()) > 3 and log.audit(), "audit lines")
        self.assertEqual(lines[0], line("admin", "save_smtp",
                                        "done; to change: smtp_hostname, smtp_tls_enabled"))
        self.assertEqual(lines[1], line("admin", "save_smtp", "failed (common/error_system); because: "
                                        "smtp_port given_twice, smtp_tls_port given_twice; "
                                        "to change: smtp_port, smtp_tls_enabled"))
        self.assertIn("smtp_relay_password", lines[2])
        self.assertEqual(lines[3], line("admin", "nonsense", "no answer"))
        self.assertNotIn("pw-secret", " ".join(lines))
        post({"action": "save_relay"})

