"""mailvane-setup admin NAME: makes an administrator, or gives one a new password for the web."""
import grp
import pwd

from mailvane.ctl.administrators import group_name
from mailvane.ctl.reference import Usage
from mailvane.ctl.upkeep import audited
from mailvane.setup import app, logins
from mailvane.setup.run import output
from mailvane.setup.survey import FIRST_USER, LAST_USER

WORDS = "NAME"
SUMMARY = "makes an administrator, with a login for the web"
OPTIONS = []


def run(session, _, words):
    """Makes account, membership, web login; what is there already stays."""
    if len(words) != 1 or set(words[0]) & set(":\n") or words[0].startswith("-"):
        raise Usage("admin takes the login name of one account")
    name = words[0]
    account = _account(name)
    if account and not FIRST_USER <= account.pw_uid <= LAST_USER:
        raise Usage("%s is a system account, which gets no mail" % name)

    password = logins.ask_password(name)
    with audited("setup admin", [name]):
        if not account:
            _make_account(name, password)
        _join(name, group_name())
        logins.store(session.etc + "/htpasswd", name, password)
    print("%s is an administrator now." % name)
    return app.DONE


def _account(name):
    try:
        return pwd.getpwnam(name)
    except KeyError:
        return None


def _make_account(name, password):
    """An account that gets mail and reads it with the same password, but has no shell."""
    output("useradd", "--create-home", "--key", "UMASK=077", "--shell", "/usr/sbin/nologin",
           "--", name)
    output("chpasswd", typed="%s:%s\n" % (name, password))


def _join(name, group):
    try:
        members = grp.getgrnam(group).gr_mem
    except KeyError:
        output("groupadd", "--system", group)
        members = []
    if name not in members:
        output("gpasswd", "--add", name, group)
