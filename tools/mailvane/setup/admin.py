"""mailvane-setup admin NAME: makes an administrator, or gives one a new password for the web."""
import grp

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
    with audited("setup admin", [name]):
        if not account:
            accounts.add(name, password)
        _join(name, group_name())
        logins.store(session.etc + "/htpasswd", name, password)
    print("%s is an administrator now." % name)
    return app.DONE


def _join(name: str, group: str) -> None:
    try:
        members = grp.getgrnam(group).gr_mem
    except KeyError:
        output("groupadd", "--system", group)
        members = []
    if name not in members:
        output("gpasswd", "--add", name, group)
