"""Surveys the machine's own mail server: what can be taken over, what cannot, what would be lost.
"""
import os
import pwd
import socket

from mailvane.common import accounts
from mailvane.setup import aliases, certificates, domains, dovecot, ports, postfix, relay, shipped
from mailvane.setup.findings import Findings
from mailvane.setup.postfix import Postfix

MAIL_SPOOL = "/var/mail"
OLD_PLACES = [MAIL_SPOOL + "/{0.pw_name}", "{0.pw_dir}/mail"]  # of an unconfigured Dovecot
OWN_RULES = (".forward", ".procmailrc")  # files in a home directory that redirect mail
MEGABYTE, LARGEST = 1 << 20, 2000
QUEUE = "/var/spool/postfix"

# The settings where nobody has configured anything; ports are the defaults.
PEOPLE_SEND = {"smtp_tls_enabled": True}
PEOPLE_READ = {"imap_enabled": True, "imaps_enabled": True}

# Parameters that are taken over, or that the generated configuration sets itself.
COVERED = {
    "alias_database", "alias_maps", "append_dot_mydomain", "biff", "compatibility_level",
    "home_mailbox", "inet_protocols", "local_recipient_maps",
    "mailbox_size_limit", "message_size_limit", "mydestination", "mydomain", "myhostname",
    "mynetworks_style", "myorigin", "queue_directory", "readme_directory", "recipient_delimiter",
    "relayhost", "smtp_sasl_auth_enable", "smtp_sasl_password_maps", "smtp_sasl_security_options",
    "smtp_sasl_tls_security_options", "smtp_tls_CAfile", "smtp_tls_CApath",
    "smtp_tls_security_level", "smtp_tls_session_cache_database", "smtp_tls_wrappermode",
    "smtp_use_tls", "smtpd_banner", "smtpd_sasl_auth_enable", "smtpd_sasl_path",
    "smtpd_sasl_security_options", "smtpd_sasl_type", "smtpd_tls_auth_only", "smtpd_tls_cert_file",
    "smtpd_tls_chain_files", "smtpd_tls_key_file", "smtpd_tls_security_level",
    "smtpd_tls_session_cache_database", "smtpd_use_tls", "virtual_alias_domains",
    "virtual_alias_maps", "virtual_mailbox_domains", "virtual_mailbox_maps",
    "alternate_config_directories", "html_directory", "manpage_directory", "sample_directory",
    "daemon_directory", "command_directory", "mail_owner", "setgid_group", "sendmail_path",
    "mailq_path", "newaliases_path"}
AS_OURS = {"disable_vrfy_command": "yes"}
SECRET_PARTS = ("passw", "_pw", "secret")  # of names of parameters


def survey(administrator: str, packages: set) -> Findings:
    """Examines the configurations in /etc/postfix and /etc/dovecot; `packages` are those installed
    as dependencies of mailvane."""
    findings = Findings()
    sender, boxes = postfix.read(), dovecot.read()
    if sender:
        _look_at_postfix(sender, administrator, findings)
        findings.postfix_values = list(sender.given.values())
    else:
        findings.smtp.update(PEOPLE_SEND)
        findings.defaults.append("Postfix")
    if "." not in findings.smtp.get("smtp_hostname", ""):
        findings.smtp["smtp_hostname"] = socket.getfqdn()
    if "." not in findings.smtp["smtp_hostname"]:
        findings.leave("the machine has no full host name; set smtp_hostname")
    if boxes:
        dovecot.take_over(boxes, findings, packages)
    else:
        findings.mailboxes.update(PEOPLE_READ)
        findings.defaults.append("Dovecot")
    certificates.take_over(sender, boxes, findings)
    _look_at_mail([MAIL_SPOOL + "/{0.pw_name}"] if boxes else OLD_PLACES, findings)
    return findings


def _look_at_postfix(sender: Postfix, administrator: str, findings: Findings) -> None:
    brought = shipped.parameters()
    own = domains.find(sender, findings)
    domains.take_over(own, findings)
    take_limits(sender, findings)
    ports.take_logins(sender, findings)
    relay.take_over(sender, findings)
    take_doors(sender, brought, postfix.has_shipped_doors(sender), findings)
    routing = aliases.Routing(own, accounts.is_mail_user)
    aliases.find(sender, routing, findings)
    aliases.take_over(routing, administrator, findings)
    look_at_delivery(sender, findings)
    leave_others(sender, brought, findings)


def take_doors(sender: postfix.Postfix, brought: dict, as_shipped: bool,
               findings: Findings) -> None:
    """Finds which services are open to whom. What only Debian's installation has opened or closed
    is not taken over."""
    if as_shipped:
        findings.smtp.update(PEOPLE_SEND)
    else:
        ports.take_over(sender, findings)
    if all(shipped.is_debians(name, value, brought) for name, value in sender.given.items()):
        findings.defaults.append("Postfix")
    else:
        findings.smtp["smtp_auth_required"] = not _own_programs_relay(sender)
    if sender.text("inet_interfaces") in ("loopback-only", "localhost", "127.0.0.1"):
        findings.leave("inet_interfaces = %s: here other machines reach the mail server, too"
                       % sender.text("inet_interfaces"))
    if sender.text("default_transport").startswith("error"):
        findings.leave("default_transport = %s: here mail to others leaves the machine"
                       % sender.text("default_transport"))


def take_limits(sender: Postfix, findings: Findings) -> None:
    """Finds the largest size of a message."""
    size = sender.text("message_size_limit")
    if "message_size_limit" in sender.given and size.isdigit():
        megabytes = -(-int(size) // MEGABYTE) or LARGEST
        findings.smtp["message_size_limit_mb"] = min(megabytes, LARGEST)
        if megabytes > LARGEST or size == "0":
            findings.leave("message_size_limit = %s: here %d MiB" % (size, LARGEST))


def _own_programs_relay(sender: Postfix) -> bool:
    lists = sender.words("smtpd_relay_restrictions") + sender.words("smtpd_recipient_restrictions")
    return "permit_mynetworks" in lists


def look_at_delivery(sender: Postfix, findings: Findings) -> None:
    """Finds mailboxes and queues that the package would not read."""
    if sender.text("virtual_mailbox_domains") or sender.text("virtual_mailbox_maps"):
        findings.stop("virtual_mailbox_domains: here mailboxes belong to the machine's accounts")
    home, queue = sender.text("home_mailbox"), sender.text("queue_directory")
    if home not in ("", "Maildir/"):
        findings.stop("home_mailbox = %s: here mail lies in ~/Maildir" % home)
    if queue != QUEUE:
        findings.stop("queue_directory = %s: what waits there would stay there" % queue)
    if sender.text("multi_instance_directories"):
        findings.stop("multi_instance_directories: there are several mail servers")


def leave_others(sender: postfix.Postfix, brought: dict, findings: Findings) -> None:
    """Adds lines about the parameters that are not taken over."""
    for name, value in sender.given.items():
        if name in COVERED or AS_OURS.get(name) == value or shipped.is_debians(name, value, brought):
            continue
        secret = any(part in name for part in SECRET_PARTS)
        findings.leave("main.cf: %s = %s" % (name, "(not shown)" if secret else value))


def _look_at_mail(places: list[str], findings: Findings) -> None:
    """Finds mail where our Dovecot does not look, and users' own files that redirect mail."""
    users = [user for user in pwd.getpwall() if accounts.serves(user)]
    for path in (place.format(user) for user in users for place in places):
        if _has_bytes(path):
            findings.stop("mail lies in %s" % path)
    for name in OWN_RULES:
        owners = [user.pw_name for user in users
                  if os.path.isfile(os.path.join(user.pw_dir, name))]
        if owners:
            findings.leave("~/%s of %s" % (name, ", ".join(owners)))


def _has_bytes(path: str) -> bool:
    """Whether there is mail: in a file, or in a folder of files."""
    try:
        return bool(os.listdir(path) if os.path.isdir(path) else os.path.getsize(path))
    except OSError:
        return False
