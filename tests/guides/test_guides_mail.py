"""Guides about mail that comes, goes and waits."""
import unittest

import scenery


class Mail(scenery.Guide):
    def test_users(self):
        self.follow("users")

    def test_domains(self):
        self.follow("domains", mailvanectl_dns=scenery.publish_records)

    def test_relay(self):
        with scenery.relay() as host:
            self.follow("relay")
        self.assertIsNotNone(host.has("by the relay"))

    def test_why(self):
        scenery.run("/usr/sbin/sendmail", "-f", "alice@example.org", "bob@example.org")
        scenery.run("/usr/sbin/sendmail", "-f", "bob@example.org", "friend@away.example")
        self.assertEqual(scenery.send("guest@far.example", "nobody@example.org", "lost"), 550)
        self.follow("why")


if __name__ == "__main__":
    unittest.main()
