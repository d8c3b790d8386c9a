"""mailvanectl dns [--json] [--check]: the records to publish for each mail domain.

Where mail for the domain goes (MX), who sends its mail (SPF), the key that its mail is signed with
(DKIM), and what others are to do with mail that fails both (DMARC), as lines of a zone file. With
--check the name servers of this machine are asked what is published already; the exit status is 1
when something is not."""
from collections.abc import Callable, Iterable, Iterator

from mailvane.common import display, files, paths
from mailvane.common.errors import Usage
from mailvane.common.settings import stored
from mailvane.ctl import answers, dkim, resolver, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--json", "--check"}

LONGEST_STRING = 255  # bytes of one string of a TXT record
PUBLISHED, MISSING, DIFFERS, UNKNOWN = "published", "missing", "differs", "no answer"


def run(session: Session, words: list[str]) -> int:
    """Prints the records."""
    upkeep.require_root()
    if words:
        raise Usage("dns takes no words")
    settings = stored()
    records = [record for domain in _domains(settings) for record in _records(settings, domain)]
    if "--check" in session.flags:
        for record in records:
            record["state"] = _state(record)
    if "--json" in session.flags:
        display.print_json(records)
    else:
        _print_zone(settings, records)
    wrong = any(record.get("state", PUBLISHED) != PUBLISHED for record in records)
    return answers.REFUSED if wrong else answers.DONE


def _domains(settings: dict[str, str]) -> list[str]:
    first = settings["acc_domain_name"] or settings["smtp_hostname"]
    return list(dict.fromkeys([first, *filter(None, files.lines_of(paths.ETC + "/domains"))]))


def _records(settings: dict[str, str], domain: str) -> Iterator[dict[str, str]]:
    yield {"use": "MX", "name": domain, "type": "MX", "value": "10 %s." % settings["smtp_hostname"]}
    yield {"use": "SPF", "name": domain, "type": "TXT", "value": "v=spf1 mx ~all"}
    key = dkim.public_key()
    if key:
        yield {"use": "DKIM", "name": "%s._domainkey.%s" % (settings["dkim_selector"], domain),
               "type": "TXT", "value": "v=DKIM1; k=rsa; p=" + key}
    yield {"use": "DMARC", "name": "_dmarc." + domain, "type": "TXT",
           "value": "v=DMARC1; p=none; rua=mailto:postmaster@" + domain}


def strings(value: str) -> str:
    """A text as the quoted strings of a TXT record, each of at most 255 bytes."""
    parts = [value[start:start + LONGEST_STRING] for start in range(0, len(value), LONGEST_STRING)]
    return " ".join('"%s"' % part for part in parts)


def _print_zone(settings: dict[str, str], records: Iterable[dict]) -> None:
    for note in _notes(settings):
        print("; " + note)
    domain = ""
    for record in records:
        if record["use"] == "MX":
            domain = record["name"]
            print("\n; " + domain)
        if "state" in record:
            print("; %s: %s" % (record["use"], record["state"]))
        value = record["value"] if record["type"] == "MX" else strings(record["value"])
        print("%s. IN %s %s" % (record["name"], record["type"],
                                "( %s )" % value if value.count('"') > 2 else value))


def _notes(settings: dict[str, str]) -> Iterator[str]:
    yield "Needed besides: an address of %s, and its name for that address." % (
        settings["smtp_hostname"])
    if settings.get("smtp_relay_enabled") == "yes":
        yield "Mail leaves by %s: add to SPF what its operator names." % (
            settings["smtp_relay_server"])
    if not dkim.public_key():
        yield "There is no key to sign with yet: mailvanectl generate_dkim_key"
    elif settings.get("enable_dkim") != "yes":
        yield "Mail is not signed: enable_dkim is off."


def _state(record: dict) -> str:
    try:
        found = resolver.records(record["name"],
                                 resolver.MX if record["type"] == "MX" else resolver.TEXT)
    except resolver.NoAnswer:
        return UNKNOWN
    return CHECKS[record["use"]](record["value"], found)


def _mail_server(value: str, found: list[str]) -> str:
    host = value.split()[1].rstrip(".").lower()
    return PUBLISHED if host in found else DIFFERS if found else MISSING


def _policy(mark: str) -> Callable[[str, list[str]], str]:
    """A check for SPF and DMARC: any single record is right, since its contents are the domain's
    choice."""
    def check(_value: str, found: list[str]) -> str:
        count = sum(text.startswith(mark) for text in found)
        return PUBLISHED if count == 1 else DIFFERS if count else MISSING
    return check


def _key(value: str, found: list[str]) -> str:
    wanted = _tag(value)
    return PUBLISHED if any(_tag(text) == wanted for text in found) else (
        DIFFERS if found else MISSING)


def _tag(text: str) -> str:
    """The key in a DKIM record, without blanks."""
    tags = (part.partition("=") for part in "".join(text.split()).split(";"))
    return next((value for name, _, value in tags if name == "p"), "")


CHECKS = {"MX": _mail_server, "SPF": _policy("v=spf1"), "DKIM": _key, "DMARC": _policy("v=DMARC1")}
