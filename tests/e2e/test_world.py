"""The private world itself, seen from the machine that it is made of."""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

WORLD = os.path.realpath(os.path.dirname(__file__) + "/../../packaging/world")
HERE = "/etc/made-in-a-world"


class World(unittest.TestCase):
    def setUp(self):
        self.state = tempfile.mkdtemp(prefix="mailvane-world-", dir=FOLDER)
        self.addCleanup(shutil.rmtree, self.state)
        self.addCleanup(self.world, "stop")

    def world(self, verb, *arguments):
        return subprocess.run([WORLD, verb, self.state, *arguments], check=False, text=True,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, timeout=150)

    def inside(self, script):
        return self.world("enter", "/bin/sh", "-c", script)

    def test_changes_stay_inside_and_are_kept(self):
        self.assertEqual(self.world("start", "--net").returncode, 0)
        self.assertEqual(self.inside("echo kept >%s && rm /etc/passwd" % HERE).returncode, 0)
        self.assertFalse(os.path.exists(HERE))
        self.assertTrue(os.path.exists("/etc/passwd"))
        self.assertNotEqual(self.world("start").returncode, 0, "it runs already")
        self.assertEqual(self.world("stop").returncode, 0)

        self.assertEqual(self.world("start", "--net").returncode, 0)
        self.assertEqual(self.inside("cat %s; test ! -e /etc/passwd" % HERE).stdout, "kept\n")
        self.assertEqual(self.inside("exit 3").returncode, 3)
        self.assertEqual(self.world("stop").returncode, 0)
        with open("/proc/mounts", encoding="utf-8") as mounts:
            self.assertNotIn(self.state, mounts.read())

    def test_its_end_ends_its_processes(self):
        self.world("start", "--net")
        self.inside("setsid sleep 12345.%d >/dev/null 2>&1 &" % os.getpid())
        self.world("stop")
        running = subprocess.run(["pgrep", "-f", "sleep 12345.%d" % os.getpid()], check=False)
        self.assertEqual(running.returncode, 1)

    def test_a_stale_pid_file_harms_nobody(self):
        with subprocess.Popen(["/bin/sleep", "60"]) as bystander:
            with open(self.state + "/pid", "w", encoding="ascii") as file:
                file.write("%d\n" % bystander.pid)
            self.assertNotEqual(self.world("alive").returncode, 0)
            self.assertNotEqual(self.inside("true").returncode, 0)
            self.assertEqual(self.world("stop").returncode, 0)
            self.assertIsNone(bystander.poll())
            bystander.kill()


if __name__ == "__main__":
    if os.geteuid() != 0:
        print("needs root: skipped")
        sys.exit(77)
    # Where states are kept: /tmp may be a file system that an overlay cannot write to.
    FOLDER = sys.argv.pop(1)
    unittest.main()
