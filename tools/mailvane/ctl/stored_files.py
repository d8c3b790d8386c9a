"""The files in a backup: their names below etc/, and their modes."""
import re

PLAIN = {
    "mailvane.conf": 0o600, "domains": 0o644, "dnsbl": 0o644, "attachment_types": 0o644,
    "report.conf": 0o600, "report.state": 0o600, "htpasswd": 0o640,
}
DATABASES = {"alias.db": 0o600, "mailvane.db": 0o600}
RULES = "rules.cf"  # the rules in force, from a generation

# Folders are there even when empty. {NAME} matches any file name that does not begin with a dot.
FOLDERS = {"rules": 0o755, "dkim.key": 0o700, "tls": 0o755, "personal": 0o700, "local.d": 0o755}
IN_FOLDERS = (
    (r"dkim\.key/(pair-[0-9TZ-]+/)?dkim\.public", 0o644),
    (r"dkim\.key/(pair-[0-9TZ-]+/)?dkim\.private|personal/{NAME}\.json", 0o600),
    (r"tls/cert\.pem|local\.d/{NAME}", 0o644),
    (r"(rules|tls)/{NAME}", 0o600),
)
NAME = r"[^/.\x00-\x1f\x7f][^/\x00-\x1f\x7f]{0,240}"
PATTERNS = [(re.compile(pattern.replace("{NAME}", NAME)), mode) for pattern, mode in IN_FOLDERS]
PAIR = re.compile(r"pair-[0-9TZ-]+")
MODES = {**PLAIN, **DATABASES, RULES: 0o600}


def mode_of(name: str) -> int | None:
    """The mode of a stored file; None for a name that is not in backups."""
    if name in MODES:
        return MODES[name]
    return next((mode for pattern, mode in PATTERNS if pattern.fullmatch(name)), None)
