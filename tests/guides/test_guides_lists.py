"""Guides about addresses, and about what the filters do with mail."""
import os
import unittest

import directory
import scenery
import test_scanner
from machine import write


class Lists(scenery.Guide):
    def test_aliases(self):
        source = directory.Directory(directory.user("lena", 5001))
        source.start()
        self.addCleanup(source.stop)
        os.makedirs("/home/lena")
        self.follow("aliases")

    def test_spam(self):
        self.signatures_are_published()
        self.follow("spam")

    def signatures_are_published(self):
        """There are none yet, and the world has no network: they come from a file."""
        test_scanner.set_signatures(False)
        write("/srv/extra.ndb", test_scanner.SIGNATURE)
        write(test_scanner.UPDATER_FRAGMENT,
              "ExcludeDatabase main\nExcludeDatabase daily\nExcludeDatabase bytecode\n"
              "DatabaseCustomURL file:///srv/extra.ndb\n")
        test_scanner.render()


if __name__ == "__main__":
    unittest.main()
