"""What the tests of mailvane-setup share: its modules on the path, configurations, folders."""
import os
import sys
import tempfile
import unittest

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, TOP + "/tools")

from mailvane.common import files
from mailvane.setup import postfix


def sample(name):
    """A text as a program of the machine prints it, or its package brings it."""
    with open(TOP + "/tests/setup/samples/" + name, encoding="utf-8") as file:
        return file.read()


def old(services="", options="", **parameters):
    """A configuration of Postfix."""
    return postfix.Postfix(parameters, parameters, postfix.parse_services(services, options))


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
