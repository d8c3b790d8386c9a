"""mailvanectl tls VERB: the certificate that the mail services and the web server show.

  show [--json]     the one in force: names, until when, who signed it
  install CERT KEY  puts one in force: CERT in PEM form, the server's first, then its chain; KEY its
                    private key, without a password
  remove            back to the one that the package signs itself

A pair that does not fit, a chain out of order, and a certificate that has expired or is not yet
valid are refused. Certificate and key change in
one step, and the services take them up; when one of them does not, the pair before is in force.
A certificate client calls it after each renewal, for example by a deploy hook that says
  mailvanectl tls install "$RENEWED_LINEAGE/fullchain.pem" "$RENEWED_LINEAGE/privkey.pem\""""
import time

from mailvane.common import display
from mailvane.common.errors import Refused
from mailvane.ctl import answers, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--json"}

LARGEST = 1 << 16  # bytes of certificate and key


def run(session: Session, words: list[str]) -> int:
    """Runs one verb."""
    return upkeep.dispatch(session, words, VERBS, "tls")


def candidates(before: list[str]) -> list[str]:
    """The words that can follow, for completion."""
    return [] if before else list(VERBS)


def _show(session: Session) -> int:
    told = session.told("tls_show")
    about = {"from": "tls install" if told["installed"] else "signed by itself",
             "subject": told["subject"], "issuer": told["issuer"],
             "names": ", ".join(told["names"]), "begins": _date(told["begins"]),
             "ends": _date(told["ends"]), "fingerprint": told["fingerprint"]}
    if "--json" in session.flags:
        display.print_json(about)
    else:
        for name, value in about.items():
            print("%-12s %s" % (name, display.plain(value)))
    _warn_of_names(told)
    return answers.DONE


def _date(seconds: int) -> str:
    return time.strftime("%b %e %H:%M:%S %Y GMT", time.gmtime(seconds))


def _install(session: Session, certificate: str, key: str) -> int:
    return _tell_of(session.call("tls_install", {"certificate": _read(certificate),
                                                 "key": _read(key)}))


def _remove(session: Session) -> int:
    return _tell_of(session.call("tls_remove"))


def _tell_of(told: dict) -> int:
    print("in force: the certificate for %s, valid until %s" % (
        display.plain(", ".join(told["names"]) or told["subject"]), _date(told["ends"])))
    _warn_of_names(told)
    return answers.DONE


def _read(path: str) -> str:
    try:
        with open(path, "rb") as file:
            data = file.read(LARGEST + 1)
    except OSError as problem:
        raise Refused("%s: %s" % (path, problem.strerror)) from problem
    if len(data) > LARGEST:
        raise Refused("%s is too large" % path)
    # What is no text is no PEM either, which the program says.
    return data.decode("ascii", "replace").replace("\0", "?")


def _warn_of_names(told: dict) -> None:
    if not told["for_host"]:
        answers.complain("the certificate is not for %s, the name of the mail server" %
                         told["host"])


VERBS: upkeep.Verbs = {
    "show": (_show, 0, 0),
    "install": (_install, 2, 2),
    "remove": (_remove, 0, 0),
}
