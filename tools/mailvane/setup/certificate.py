"""mailvane-setup certificate NAME FILE: a certificate by which a browser signs in an administrator.

Each certificate stands for itself: it is signed by its own key, may sign no other, and is taken because
it stands in the file of those that are known. To forget it there is to revoke it; there is no authority
whose key could be stolen."""
import grp
import os
import re
import tempfile

from mailvane.common import files, passwords, paths
from mailvane.common.administrators import group_name
from mailvane.common.audit import audited
from mailvane.common.errors import Usage
from mailvane.common.web_server import WebServer
from mailvane.setup import app
from mailvane.setup.run import output

WORDS = "NAME FILE"
SUMMARY = "makes a certificate that signs in to the web"
OPTIONS = ["forget"]

DAYS = 730
# What the name may be, since web servers write it into a line of text.
NAME = re.compile(r"[A-Za-z0-9_][A-Za-z0-9_.-]{0,31}")
# One that may sign others would let its owner sign in as anybody.
CONFIGURATION = """\
[req]
distinguished_name = name
x509_extensions = own
[name]
[own]
basicConstraints = critical, CA:FALSE
keyUsage = critical, digitalSignature
extendedKeyUsage = clientAuth
subjectKeyIdentifier = hash
"""


def run(session: app.Session, options: set[str], words: list[str]) -> int:
    forget = "--forget" in options
    if len(words) != (1 if forget else 2) or not NAME.fullmatch(words[0]):
        raise Usage("certificate takes the login name of an administrator and the file to write, or "
                    "--forget and the name")
    name = words[0]
    if forget:
        _know(session, name, "")
        print("The certificate of %s is forgotten." % name)
    else:
        _make(session, name, words[1])
    print("nginx and Apache, where they are used, have to be started again to know.")
    return app.DONE


def _make(session: app.Session, name: str, path: str) -> None:
    try:
        members = grp.getgrnam(group_name()).gr_mem
    except KeyError:
        members = []
    if name not in members:
        raise Usage("%s is no administrator; `mailvane-setup admin %s` makes one" % (name, name))
    if os.path.lexists(path):
        raise Usage("%s exists" % path)
    password = passwords.ask(name, "the file")
    certificate, packed = _pair(name, password)
    files.replace(path, packed, 0o600)
    _know(session, name, certificate)
    print("%s holds certificate and key for a browser; they sign in as %s for %d days. The certificate "
          "that %s had before is no longer taken." % (path, name, DAYS, name))


def _pair(name: str, password: str) -> tuple[str, bytes]:
    """A new certificate, and it with its key as a file of PKCS #12. The key is never on a disk."""
    with tempfile.TemporaryDirectory(dir="/run") as folder:
        configuration, key, certificate, packed = (
            folder + "/" + file for file in ("configuration", "key", "certificate", "packed"))
        files.replace(configuration, CONFIGURATION.encode(), 0o600)
        output("openssl", "req", "-x509", "-config", configuration, "-newkey", "ec", "-pkeyopt",
               "ec_paramgen_curve:P-256", "-nodes", "-days", str(DAYS), "-subj", "/CN=" + name,
               "-keyout", key, "-out", certificate)
        output("openssl", "pkcs12", "-export", "-inkey", key, "-in", certificate, "-name",
               "mailvane " + name, "-passout", "stdin", "-out", packed, typed=password + "\n")
        return (files.content(certificate) or b"").decode("ascii"), files.content(packed) or b""


def _know(session: app.Session, name: str, certificate: str) -> None:
    """Puts a certificate in the place of the one that a name has; none for an empty one."""
    folder = session.etc + "/tls"
    known = with_certificate("\n".join(files.lines_of(folder + "/clients.pem")), name, certificate)
    with audited("setup certificate", [name]):
        # A server takes certificates while it finds this link; an empty file it does not start with.
        if not known:
            files.remove(folder + "/clients")
        files.replace(folder + "/clients.pem", known.encode(), 0o644)
        if known and not os.path.islink(folder + "/clients"):
            os.symlink(paths.PACKAGE + "/target/etc/web/clients", folder + "/clients")
        files.sync_folder(folder)
        WebServer().renew()


def with_certificate(known: str, name: str, certificate: str) -> str:
    """The text of the file with the certificate of one name replaced, added or taken out. A line before
    each says whose it is."""
    parts = re.findall(r"# (\S+)\n(-----BEGIN.*?END CERTIFICATE-----)", known, re.DOTALL)
    kept = [(whose, what) for whose, what in parts if whose != name]
    if certificate:
        kept.append((name, certificate.strip()))
    return "".join("# %s\n%s\n" % part for part in kept)
