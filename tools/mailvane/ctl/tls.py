"""mailvanectl tls VERB: the certificate that the mail services and the web server show.

  show [--json]     the one in force: names, until when, who signed it
  install CERT KEY  puts one in force: CERT in PEM form, the server's first, then its chain; KEY its
                    private key, without a password
  remove            back to the one that the package signs itself

A pair that does not fit, has expired or is not yet valid is refused. Certificate and key change in
one step, and the services take them up; when one of them does not, the pair before is in force.
A certificate client calls it after each renewal, for example by a deploy hook that says
  mailvanectl tls install "$RENEWED_LINEAGE/fullchain.pem" "$RENEWED_LINEAGE/privkey.pem\""""
import os
import re
import shutil

from mailvane.common import display, paths, programs, settings
from mailvane.common.audit import audited
from mailvane.common.errors import Refused
from mailvane.ctl import answers, restore, upkeep
from mailvane.ctl.session import Session
from mailvane.common.web_server import WebServer

OPTIONS = {"--json"}

OWN = paths.ETC + "/tls"
SELF_SIGNED = paths.CURRENT + "/tls"
REPLACED = paths.ETC + "/replaced/tls"
CERTIFICATE, KEY = "cert.pem", "key.pem"
OPENSSL = "/usr/bin/openssl"
LARGEST = 1 << 20  # bytes


def run(session: Session, words: list[str]) -> int:
    """Runs one verb."""
    return upkeep.dispatch(session, words, VERBS, "tls")


def candidates(before: list[str]) -> list[str]:
    """The words that can follow, for completion."""
    return [] if before else list(VERBS)


def _show(session: Session) -> int:
    own = all(os.path.exists("%s/%s" % (OWN, name)) for name in (CERTIFICATE, KEY))
    about = {"from": "tls install" if own else "signed by itself",
             **_about("%s/%s" % (OWN if own else SELF_SIGNED, CERTIFICATE))}
    if "--json" in session.flags:
        display.print_json(about)
    else:
        for name, value in about.items():
            print("%-12s %s" % (name, display.plain(value)))
    _warn_of_names("%s/%s" % (OWN if own else SELF_SIGNED, CERTIFICATE))
    return answers.DONE


def _about(path: str) -> dict[str, str]:
    lines = programs.checked([OPENSSL, "x509", "-in", path, "-noout", "-subject", "-issuer",
                            "-startdate", "-enddate", "-fingerprint", "-sha256"]).splitlines()
    # "notAfter=…", "sha256 Fingerprint=…"
    values = {name.split()[-1]: value for name, _, value in
              (line.partition("=") for line in lines)}
    names = programs.run([OPENSSL, "x509", "-in", path, "-noout", "-ext", "subjectAltName"])[1]
    return {
        "subject": values["subject"],
        "issuer": values["issuer"],
        "names": ", ".join(re.findall(r"DNS:([^\s,]+)", names)),
        "begins": values["notBefore"],
        "ends": values["notAfter"],
        "fingerprint": values["Fingerprint"],
    }


def _install(_session: Session, certificate: str, key: str) -> int:
    with audited("tls install", ["certificate"]), restore.staging() as folder:
        pair = {CERTIFICATE: _read(certificate), KEY: _read(key)}
        staged = _stage(folder, pair)
        _check(staged)
        _put_in_force(folder)
    _tell_of("%s/%s" % (OWN, CERTIFICATE))
    return answers.DONE


def _remove(_session: Session) -> int:
    with audited("tls remove", ["certificate"]), restore.staging() as folder:
        _stage(folder, {})
        _put_in_force(folder)
    _tell_of("%s/%s" % (SELF_SIGNED, CERTIFICATE))
    return answers.DONE


def _tell_of(path: str) -> None:
    about = _about(path)
    print("in force: the certificate for %s, valid until %s" % (
        display.plain(about["names"] or about["subject"]), about["ends"]))
    _warn_of_names(path)


def _read(path: str) -> bytes:
    try:
        with open(path, "rb") as file:
            data = file.read(LARGEST + 1)
    except OSError as problem:
        raise Refused("%s: %s" % (path, problem.strerror)) from problem
    if len(data) > LARGEST:
        raise Refused("%s is too large" % path)
    return data


def _stage(folder: str, pair: dict[str, bytes]) -> str:
    """Makes the new folder tls in `folder`; other files of the present tls are copied to it."""
    staged = os.path.join(folder, "tls")
    os.mkdir(staged)
    os.chmod(staged, 0o755)
    if os.path.isdir(OWN):
        for name in set(os.listdir(OWN)) - {CERTIFICATE, KEY}:
            source = os.path.join(OWN, name)
            if os.path.isfile(source):
                shutil.copy2(source, staged, follow_symlinks=False)
    for name, data in pair.items():
        restore.put(os.path.join(staged, name), data, 0o600 if name == KEY else 0o644)
    os.sync()
    return staged


def _check(staged: str) -> None:
    import ssl
    import time

    def no_password() -> str:
        raise Refused("the key has a password, which no service could give")

    certificate, key = "%s/%s" % (staged, CERTIFICATE), "%s/%s" % (staged, KEY)
    try:
        ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER).load_cert_chain(certificate, key, no_password)
    except ssl.SSLError as problem:
        mismatch = problem.reason == "KEY_VALUES_MISMATCH"
        raise Refused("the key is not that of the certificate" if mismatch else
                      "certificate or key cannot be read") from problem
    about = _about(certificate)
    if ssl.cert_time_to_seconds(about["ends"]) <= time.time():
        raise Refused("the certificate has expired: " + about["ends"])
    if ssl.cert_time_to_seconds(about["begins"]) > time.time():
        raise Refused("the certificate is not valid before " + about["begins"])


def _put_in_force(folder: str) -> None:
    web_server = WebServer()
    upkeep.configure("tls", folder)
    try:
        web_server.renew()
    except Refused as problem:
        with restore.staging() as before:
            if os.path.isdir(REPLACED):
                os.rename(REPLACED, os.path.join(before, "tls"))
            else:
                _stage(before, {})
            upkeep.configure("tls", before)
        web_server.renew()
        raise Refused("%s; the certificate before is in force" % problem) from problem


def _warn_of_names(path: str) -> None:
    host = settings.stored().get("smtp_hostname", "")
    told = programs.run([OPENSSL, "x509", "-in", path, "-noout", "-checkhost", host])[1]
    if "does match" not in told:
        answers.complain("the certificate is not for %s, the name of the mail server" % host)


VERBS: upkeep.Verbs = {
    "show": (_show, 0, 0),
    "install": (_install, 2, 2),
    "remove": (_remove, 0, 0),
}
