"""mailvanectl: the archive of a backup, where it is not honest."""
import hashlib
import io
import json
import os
import sys
import tarfile
import tempfile
import unittest

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, TOP + "/tools")

from mailvane.ctl import archive
from mailvane.common.errors import Refused

FILES = {"mailvane.conf": b'smtp_port="25"\n', "rules/my rules.cf": b"", "alias.db": b"\0" * 600,
         "dkim.key/pair-20260101T000000Z/dkim.private": b"key"}


def member(name, data=b"", **more):
    about = tarfile.TarInfo(name)
    about.size = len(data)
    for key, value in more.items():
        setattr(about, key, value)
    return about, data


def manifest(held, **changes):
    listed = {name: {"size": len(data), "sha256": hashlib.sha256(data).hexdigest()}
              for name, data in held.items()}
    text = {"format": 1, "program": "mailvane", "version": "1", "made": 1, "signing_pair": "",
            "files": listed, **changes}
    return member("manifest.json", json.dumps(text).encode())


class Archive(unittest.TestCase):
    def setUp(self):
        self.path = self.enterContext(tempfile.TemporaryDirectory()) + "/state.tar"

    def put(self, *members):
        with tarfile.open(self.path, "w") as tar:
            for about, data in members:
                tar.addfile(about, io.BytesIO(data))

    def test_what_is_refused(self):
        good = [member(name, data) for name, data in FILES.items()]
        other = {"mailvane.conf": b"x"}
        for members, why in (
            ([member("x")], "no archive of mailvane"),
            ([manifest(FILES, files=[]), *good], "no archive of mailvane"),
            ([manifest(FILES, format=2), *good], "format 2"),
            ([manifest(FILES, signing_pair="../.."), *good], "key pair"),
            ([manifest(FILES), *good[1:]], "lacks"),
            ([manifest(FILES), *good, good[0]], "none of its files"),
            ([manifest(FILES), *good, member("tls/key.pem")], "none of its files"),
            ([manifest(other), member("mailvane.conf", b"y")], "not what the manifest says"),
            *(([manifest({name: b""}), member(name)], "none of its files") for name in (
                "../etc/passwd", "rules/../../x", "/etc/passwd", "rules/.hidden", "lock", "tls/a/b",
                "personal/x", "generated/current", "dkim.key/pair", "rules/a\nb")),
            *(([manifest({"htpasswd": b""}), member("htpasswd", type=kind, linkname="/etc/shadow")],
               "no regular file") for kind in (tarfile.SYMTYPE, tarfile.LNKTYPE, tarfile.CHRTYPE,
                                               tarfile.FIFOTYPE, tarfile.DIRTYPE)),
        ):
            with self.subTest(why, last=members[-1][0].name):
                self.put(*members)
                with self.assertRaisesRegex(Refused, why):
                    archive.read(self.path)




if __name__ == "__main__":
    unittest.main()
