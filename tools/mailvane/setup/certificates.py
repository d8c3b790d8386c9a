"""Takes over the certificate of the machine's own servers, if it is signed by a trusted authority.
"""
import os

from mailvane.setup.dovecot import Section
from mailvane.setup.findings import Findings
from mailvane.setup.postfix import Postfix
from mailvane.setup.run import Failed, attempt, output


def take_over(postfix: Postfix | None, dovecot: Section | None, findings: Findings) -> None:
    """Finds the first usable pair, first that of the SMTP server, then that of the mailbox server.
    """
    for certificate, key in _pairs(postfix, dovecot):
        fault = _fault(certificate, key)
        if not fault:
            findings.certificate = (certificate, key)
            if "/letsencrypt/" in certificate:
                findings.leave("%s: each renewal has to be installed here too; see the "
                               "documentation" % certificate)
            return
        if fault != "self-signed":
            findings.leave("%s: %s" % (certificate, fault))


def install(target: str, certificate: str, key: str) -> None:
    """Installs a certificate and its key in the package."""
    status, _, errors = attempt(target + "/bin/mailvanectl", "tls", "install", certificate, key)
    if status != 0:
        raise Failed("%s cannot be installed: %s" % (certificate, errors.strip()))


def _pairs(postfix: Postfix | None, dovecot: Section | None) -> list[tuple[str, str]]:
    pairs = []
    if postfix:
        chain = postfix.words("smtpd_tls_chain_files")
        key = postfix.text("smtpd_tls_key_file") or postfix.text("smtpd_tls_cert_file")
        pairs += [(chain[-1], chain[0])] if chain else []
        pairs.append((postfix.text("smtpd_tls_cert_file"), key))
    if dovecot:
        own = [dovecot.values.get(name, "").removeprefix("<") for name in ("ssl_cert", "ssl_key")]
        pairs.append((own[0], own[1] or own[0]))
    return [pair for pair in dict.fromkeys(pairs) if pair[0]]


def _fault(certificate: str, key: str) -> str:
    """Why a pair cannot be used; "" when it can."""
    if not (os.path.isfile(certificate) and os.path.isfile(key)):
        return "no such file, or its key"
    try:
        names = output("openssl", "x509", "-in", certificate, "-noout", "-subject", "-issuer",
                       "-nameopt", "RFC2253")
        public = output("openssl", "x509", "-in", certificate, "-noout", "-pubkey")
        status, own, _ = attempt("openssl", "pkey", "-in", key, "-pubout", "-passin", "pass:")
    except Failed as problem:
        return str(problem)
    subject, issuer = (line.partition("=")[2] for line in names.splitlines())
    if subject == issuer:
        return "self-signed"
    if status != 0 or own != public:
        return "the key %s does not belong to it, or is encrypted" % key
    expired = attempt("openssl", "x509", "-in", certificate, "-noout", "-checkend", "0")[0] != 0
    return "it has expired" if expired else ""
