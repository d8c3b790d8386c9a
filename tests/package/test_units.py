#!/usr/bin/python3
"""How far the package's units are shut in, by systemd's own measure, and that none may write the
programs that others run."""
import os
import re
import subprocess
import tempfile
import unittest

TOP = os.path.dirname(os.path.realpath(__file__)) + "/../.."
UNITS = TOP + "/packaging/systemd"
PROGRAMS = "/var/packages/Mailvane/target"
ADMINISTERS = {"mailvane-gate", "mailvane-recover", "mailvane-groups", "mailvane-take-back"}
REPORT = {"mailvane-report"}
MAKES_USERS = {"mailvane-gate"}  # with the drop-in of mailvane-console


def exposure(root, unit):
    """The measure of a unit with its drop-ins: 0 is the best."""
    text = subprocess.run(
        ["systemd-analyze", "security", "--offline=true", "--root=" + root, "--no-pager", unit],
        check=False, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT).stdout
    return float(re.search(r"exposure level for \S+: ([0-9.]+)", text).group(1))


class Units(unittest.TestCase):
    """See above."""

    def test_are_shut_in(self):
        """Those that administer the whole machine's mail less than the others."""
        services = [name[:-8] for name in os.listdir(UNITS) if name.endswith(".service")]
        self.assertLess(ADMINISTERS, set(services))
        with tempfile.TemporaryDirectory() as root:
            for folder in ("lib/systemd", "etc/systemd", "usr/lib"):
                os.makedirs(os.path.join(root, folder))
            os.symlink(UNITS, root + "/lib/systemd/system")
            os.symlink("../../lib/systemd", root + "/usr/lib/systemd")
            for service in services:
                with self.subTest(service):
                    most = 3.6 if service in MAKES_USERS else \
                        3.5 if service in ADMINISTERS | REPORT else 2.9
                    self.assertLessEqual(exposure(root, service + ".service"), most)

    def test_may_not_write_programs(self):
        """Each folder that the build installs, but for those with what is stored."""
        with open(UNITS + "/mailvane-.service.d/sandbox.conf", encoding="utf-8") as file:
            shut = set(re.findall(r"-%s/(\S+)" % PROGRAMS, file.read()))
        self.assertLessEqual({"bin", "lib", "sbin", "scripts", "share", "ui", "app", "systemd",
                              "etc/web", "etc/fail2ban", "etc/web.conf"}, shut)


if __name__ == "__main__":
    unittest.main()
