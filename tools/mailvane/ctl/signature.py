"""Signatures of archives, made and checked by openssl with a key pair of the administrator."""
import os
import tempfile

from mailvane.common import programs
from mailvane.common.errors import Refused

OPENSSL = "/usr/bin/openssl"
LARGEST = 4096  # bytes


def sign(data: bytes, key: str) -> bytes:
    """Signs with the private key in the file `key`."""
    with tempfile.TemporaryDirectory() as folder:
        signature = folder + "/signature"
        command = [OPENSSL, "pkeyutl", "-sign", "-rawin", "-inkey", _readable(key),
                   "-in", _written(folder, "data", data), "-out", signature]
        if programs.run(command)[0] != 0:
            raise Refused("openssl cannot sign by the key in %s" % key)
        with open(signature, "rb") as file:
            return file.read()


def check(data: bytes, signature: bytes, key: str) -> None:
    """Refused unless signed by the pair whose public key is in the file `key`."""
    with tempfile.TemporaryDirectory() as folder:
        command = [OPENSSL, "pkeyutl", "-verify", "-rawin", "-pubin", "-inkey", _readable(key),
                   "-in", _written(folder, "data", data),
                   "-sigfile", _written(folder, "signature", signature)]
        if programs.run(command)[0] != 0:
            raise Refused("the archive is not signed by the key in %s" % key)


def _readable(key: str) -> str:
    if not os.path.isfile(key):
        raise Refused("there is no key in %s" % key)
    return os.path.abspath(key)


def _written(folder: str, name: str, data: bytes) -> str:
    path = folder + "/" + name
    with open(path, "wb") as file:
        file.write(data)
    return path
