"""mailvane-setup admin NAME: makes an administrator, or gives one a new password for the web."""
import grp
import sys

from mailvane.common import accounts, passwords
from mailvane.common.administrators import group_name
from mailvane.common.audit import audited
from mailvane.common.errors import Usage
from mailvane.setup import app, logins
from mailvane.setup.run import output

WORDS = "NAME"
SUMMARY = "makes an administrator, with a login for the web"
OPTIONS: list[str] = []


def run(session: app.Session, _: set[str], words: list[str]) -> int:
    """Makes account, group membership and web login; those that exist are kept."""
    if len(words) != 1 or set(words[0]) & set(":\n") or words[0].startswith("-"):
        raise Usage("admin takes the login name of one account")
    name = words[0]
    account = accounts.find(name)
    if account and not accounts.serves(account):
        raise Usage("%s is a system account, which gets no mail" % name)

    password = passwords.ask(name, "the web")
    mailbox = "" if account else _of_mailbox(name, password)
    with audited("setup admin", [name]):
        if not account:
            accounts.add(name, mailbox)
        _join(name, group_name())
        logins.store(session.etc + "/htpasswd", name, password)
    print("%s is an administrator now." % name)
    if mailbox == password:
        print("The mailbox has the same password: whoever learns it there, or guesses it by IMAP or "
              "SMTP, administers the mail server.")
    return app.DONE


def _of_mailbox(name: str, password: str) -> str:
    """The password of a new account's mailbox: one of its own unless that is not wanted. Without a
    terminal the next line, or where there is none, that of the web."""
    if not sys.stdin.isatty():
        line = sys.stdin.readline().removesuffix("\n")
        return passwords.checked(line) if line else password
    print("The web login is as good as root's for mail. With a password of its own, nobody gets it who "
          "learns that of the mailbox, which mail programs keep.")
    if input("The same password for the mailbox? [y/N] ").strip().lower() in ("y", "yes"):
        return password
    return passwords.ask(name, "the mailbox")


def _join(name: str, group: str) -> None:
    try:
        members = grp.getgrnam(group).gr_mem
    except KeyError:
        output("groupadd", "--system", group)
        members = []
    if name not in members:
        output("gpasswd", "--add", name, group)
