"""Guides about what an administrator does now and then."""
import os
import unittest

import guide
import harness
import scenery
from machine import write

# What the certificate client does but for the proof that the name is ours: for that it asks others.
CERTBOT = r"""#!/bin/bash
set -e
while [ $# -gt 0 ]; do
    case $1 in -d) name=$2 ;; --deploy-hook) hook=$2 ;; esac
    shift
done
export RENEWED_LINEAGE=/etc/letsencrypt/live/$name
mkdir -p "$RENEWED_LINEAGE"
/usr/bin/openssl req -x509 -newkey rsa:2048 -nodes -days 90 -subj "/CN=$name" \
    -addext "subjectAltName=DNS:$name" -keyout "$RENEWED_LINEAGE/privkey.pem" \
    -out "$RENEWED_LINEAGE/fullchain.pem" 2>/dev/null
cp "$RENEWED_LINEAGE/fullchain.pem" /root/cert.pem
cp "$RENEWED_LINEAGE/privkey.pem" /root/key.pem
/bin/sh -c "$hook"
"""


class Upkeep(scenery.Guide):
    def test_backup(self):
        self.follow("backup")

    def test_certificates(self):
        write("/usr/local/bin/certbot", CERTBOT)
        os.chmod("/usr/local/bin/certbot", 0o755)
        self.follow("certificates")

    def test_imports(self):
        self.follow("imports")

    def test_many_machines(self):
        self.follow("many_machines")
        self.assertEqual(harness.settings()["message_size_limit_mb"], "30")

    def test_monitoring(self):
        self.follow("monitoring")


class Convention(unittest.TestCase):
    """What goes otherwise than a guide says is noticed."""

    def test_a_guide_that_is_wrong(self):
        cases = (("$ true\n", ""), ("$ false\n", "exit status 1"), ("$ echo a\na\n", ""),
                 ("$ echo a b\na …\n", ""), ("$ echo a\nb\n", "shows something else"),
                 ("$ echo a\n", "shows something else"), ("$ true\na\n", "shows something else"),
                 ("$ printf 'a\\nb\\nc'\na\n…\nc\n", ""),
                 ("$ read -p 'Sure? [y/N] ' a; echo $a\nSure? [y/N] y\ny\n", ""))
        for text, wrong in cases:
            with self.subTest(text):
                write("/tmp/guide.md", "```console\n%s```\n" % text)
                try:
                    guide.Follower().follow("/tmp/guide.md")
                    self.assertEqual(wrong, "")
                except AssertionError as fault:
                    self.assertIn(wrong or "nothing", str(fault))


if __name__ == "__main__":
    unittest.main()
