"""mailvanectl dns [--json] [--check]: the records to publish for each mail domain.

Where mail for the domain goes (MX), who sends its mail (SPF), the key that its mail is signed with
(DKIM), what others are to do with mail that fails both (DMARC), and where mail programs find their
servers (SRV), as lines of a zone file. With --check the name servers of this machine are asked what
is published already; the exit status is 1 when something but SRV is not."""
from collections.abc import Iterable

from mailvane.common import display
from mailvane.common.errors import Usage
from mailvane.ctl import answers, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--json", "--check"}

LONGEST_STRING = 255  # bytes of one string of a TXT record
PUBLISHED = "published"
NOTES = {
    "host": "Needed besides: an address of %s, and its name for that address.",
    "relay": "Mail leaves by %s: add to SPF what its operator names.",
    "no_key": "There is no key to sign with yet: mailvanectl generate_dkim_key",
    "not_signed": "Mail is not signed: %s is off.",
}


def run(session: Session, words: list[str]) -> int:
    """Prints the records."""
    upkeep.require_root()
    if words:
        raise Usage("dns takes no words")
    told = session.told("dns_records")
    records = told["records"]
    if "--check" in session.flags:
        domains = dict.fromkeys(record["domain"] for record in records)
        records = [record for domain in domains
                   for record in session.told("dns_check", {"domain": domain})["records"]]
    if "--json" in session.flags:
        display.print_json(records)
    else:
        _print_zone(told["notes"], records)
    wrong = any(record.get("state", PUBLISHED) != PUBLISHED and not record["optional"]
                for record in records)
    return answers.REFUSED if wrong else answers.DONE


def strings(value: str) -> str:
    """A text as the quoted strings of a TXT record, each of at most 255 bytes."""
    parts = [value[start:start + LONGEST_STRING] for start in range(0, len(value), LONGEST_STRING)]
    return " ".join('"%s"' % part for part in parts)


def _print_zone(notes: Iterable[dict], records: Iterable[dict]) -> None:
    for note in notes:
        text = NOTES[note["code"]]
        print("; " + (text % note["about"] if "%s" in text else text))
    for record in records:
        if record["use"] == "MX":
            print("\n; " + record["domain"])
        if "state" in record:
            print("; %s: %s" % (record["use"], record["state"]))
        value = strings(record["value"]) if record["type"] == "TXT" else record["value"]
        print("%s. IN %s %s" % (record["name"], record["type"],
                                "( %s )" % value if value.count('"') > 2 else value))
