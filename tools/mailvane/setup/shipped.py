"""What Debian's packages install and write themselves, to tell it from an administrator's
configuration. Read from the machine, so that it fits the installed versions."""
import hashlib
import os

from mailvane.common.files import content
from mailvane.setup.run import attempt, output

UCF_DIGESTS = "/var/lib/ucf/hashfile"
MAIN_CF = ("/usr/share/postfix/main.cf.debian", "/usr/share/postfix/main.cf.tls")
MASTER_CF = "/usr/share/postfix/master.cf.dist"

# Parameters that the postinst of Postfix writes into main.cf whatever debconf is answered.
FACTS = {"myhostname", "mydomain", "myorigin", "mydestination", "alias_maps", "alias_database",
         "mailbox_size_limit", "recipient_delimiter", "inet_protocols", "readme_directory",
         "html_directory"}
ANSWERS = {
    "inet_interfaces": ("all", "loopback-only"),
    "default_transport": ("smtp", "error"),
    "relay_transport": ("smtp", "error"),
    "relayhost": ("",),
    "mailbox_command": ("", 'procmail -a "$EXTENSION"'),
    "mynetworks": ("127.0.0.0/8", "127.0.0.0/8 [::ffff:127.0.0.0]/104 [::1]/128"),
    "smtpd_relay_restrictions": (
        "permit_mynetworks permit_sasl_authenticated defer_unauth_destination",
        "permit_mynetworks, permit_sasl_authenticated, defer_unauth_destination",
        "permit_mynetworks permit_sasl_authenticated reject_unauth_destination",
        "permit_mynetworks, permit_sasl_authenticated, reject_unauth_destination")}


def parameters(files: tuple = MAIN_CF) -> dict:
    """The parameters, with values, of the main.cf that the package starts from."""
    found = {}
    for path in files:
        for line in _text(path).splitlines():
            name, equals, value = line.partition("=")
            if equals and not line.startswith("#"):
                found[name.strip()] = value.strip()
    return found


def is_debians(name: str, value: str, brought: dict) -> bool:
    """Whether a parameter of Postfix has a value that the package's installation writes."""
    return name in FACTS or value in ANSWERS.get(name, ()) or brought.get(name) == value


def digests_of_ucf(path: str = UCF_DIGESTS) -> dict:
    """MD5 of the files under ucf, as their packages installed them."""
    pairs = (line.partition("  ") for line in _text(path).splitlines())
    return {name: digest for digest, _, name in pairs}


def conffiles() -> dict:
    """Package and MD5 of each conffile, by path, as the packages installed them."""
    return parse_conffiles(output("dpkg-query", "-W", "-f", "${Package}\\n${Conffiles}\\n"))


def parse_conffiles(text: str) -> dict:
    """Parses lines with a package's name, each followed by " path digest" for its conffiles."""
    found, package = {}, ""
    for line in text.splitlines():
        words = line.split()
        if len(words) == 1:
            package = words[0]
        elif len(words) == 2:  # a third word means that it is obsolete
            found[words[0]] = (package, words[1])
    return found


def is_as_brought(path: str, digest: str) -> bool:
    """Whether a file exists with this MD5."""
    data = content(path)
    return data is not None and hashlib.md5(data, usedforsecurity=False).hexdigest() == digest


def came_along() -> set:
    """Packages that are installed only as dependencies of mailvane: those that apt would remove
    with it."""
    status, text, _ = attempt("apt-get", "--simulate", "-o", "Debug::NoLocking=1", "autoremove",
                              "mailvane")
    lines = text.splitlines() if status == 0 else []
    return {line.split()[1] for line in lines if line.startswith("Remv ")} - {"mailvane"}


def files_below(folder: str) -> list:
    """All files in a folder and its subfolders."""
    return [os.path.join(top, name) for top, _, names in os.walk(folder) for name in names]


def _text(path: str) -> str:
    return (content(path) or b"").decode(errors="replace")
