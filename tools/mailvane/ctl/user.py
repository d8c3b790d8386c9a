"""mailvanectl user VERB: the people who have mail on this machine.

  list [--json]         who they are
  show NAME [--json]    what NAME types into a mail program: servers, ports, encryption, login
  add NAME              makes a user and prints that; the password is asked for
  password NAME         gives a user another password
  remove NAME           removes a user; asks whether the mailbox goes too
    --delete-mailbox | --keep-mailbox [--yes]  the answer of a script

A terminal asks for a password twice; else it is the first line of standard input. It has at least
10 characters. Users are accounts of the machine with a home and no shell; mail lies in ~/Maildir.
Where the accounts come from a directory they are managed there.

  mailvanectl user add bob
  mailvanectl user remove bob --keep-mailbox --yes"""
import os
import pwd
import sys

from mailvane.common import accounts, display, passwords, paths
from mailvane.common.administrators import group_name
from mailvane.common.audit import audited
from mailvane.common.errors import Refused, Usage
from mailvane.ctl import answers, local_users, mail_program, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--json", "--yes", "--delete-mailbox", "--keep-mailbox"}

PERSONAL = paths.ETC + "/personal"
ROLES = ("postmaster", "abuse")  # their mail goes to an administrator
DIRECTORIES = {"ldap": "an LDAP directory", "win": "a Windows domain"}


def run(session: Session, words: list[str]) -> int:
    """Runs one verb."""
    return upkeep.dispatch(session, words, VERBS, "user")


def candidates(before: list[str]) -> list[str]:
    """The words that can follow, for completion."""
    if not before:
        return list(VERBS)
    named = before[0] in ("show", "password", "remove") and len(before) == 1
    return [account.pw_name for account in local_users.every()] if named else []


def _own_accounts(session: Session) -> dict:
    """The values of the SMTP page. Refused when the users are not accounts of this machine."""
    page = session.value("load_smtp")
    if page["account_type"] in DIRECTORIES:
        raise Refused("the mail users live in %s (account_type is %s): manage them there" % (
            DIRECTORIES[page["account_type"]], page["account_type"]))
    return page


def _list(session: Session) -> int:
    domain = mail_program.domain(_own_accounts(session))
    administrators = _administrators()
    users = [{"name": account.pw_name, "uid": account.pw_uid,
              "address": "%s@%s" % (account.pw_name, domain), "home": account.pw_dir,
              "administrator": account.pw_name in administrators}
             for account in local_users.every()]
    if "--json" in session.flags:
        display.print_json(users)
        return answers.DONE
    display.print_table(("NAME", "UID", "ADDRESS", "HOME", ""),
                       [(user["name"], user["uid"], user["address"], user["home"],
                         "administrator" if user["administrator"] else "") for user in users])
    return answers.DONE


def _administrators() -> list[str]:
    import grp
    try:
        return grp.getgrnam(group_name()).gr_mem
    except KeyError:
        return []


def _show(session: Session, name: str) -> int:
    page = _own_accounts(session)
    local_users.named(name)
    _print_access(session, page, name)
    return answers.DONE


def _print_access(session: Session, page: dict, name: str) -> None:
    access = mail_program.access(name, page, session.value("load_imap_pop3"))
    if "--json" in session.flags:
        display.print_json(access)
    else:
        print(mail_program.as_text(access))


def _add(session: Session, name: str) -> int:
    page = _own_accounts(session)
    if name in ROLES or _aliases(session, name, "alias_name"):
        raise Refused("mail to %s goes elsewhere: it is an alias, or a name that every mail server "
                      "has" % display.plain(name))
    password = passwords.ask(name, "mail")
    with audited("user add", [name]):
        accounts.add(name, password)
    _print_access(session, page, name)
    return answers.DONE


def _password(session: Session, name: str) -> int:
    _own_accounts(session)
    local_users.named(name)
    password = passwords.ask(name, "mail")
    with audited("user password", [name]):
        accounts.set_password(name, password)
    print("%s has a new password for mail" % name)
    return answers.DONE


def _remove(session: Session, name: str) -> int:
    _own_accounts(session)
    account = local_users.named(name)
    if name in _administrators():
        group = group_name()
        raise Refused("%s is an administrator: end that first: gpasswd --delete %s %s" % (
            name, name, group))
    upkeep.confirm(session, "This removes the user %s." % name)
    deletes = _mailbox_goes(session, account)
    with audited("user remove", [name]):
        local_users.remove(account, deletes)
        # A later user of that name must not inherit these settings, such as the forwarding of mail.
        if os.path.lexists("%s/%s.json" % (PERSONAL, name)):
            os.unlink("%s/%s.json" % (PERSONAL, name))
    kept = os.path.isdir(account.pw_dir)
    print("%s is removed; %s" % (name, "the mailbox stays in %s, which is root's now" %
                                 account.pw_dir if kept else "the mailbox is gone"))
    for alias in _aliases(session, name, "alias_member"):
        answers.complain("%s is still a member of the alias %s" % (name, alias))
    return answers.DONE


def _mailbox_goes(session: Session, account: pwd.struct_passwd) -> bool:
    given = session.flags & {"--delete-mailbox", "--keep-mailbox"}
    if len(given) == 1:
        return "--delete-mailbox" in given
    if given or not sys.stdin.isatty():
        raise Usage("say one of --delete-mailbox and --keep-mailbox")
    return input("Delete all mail in %s too? [y/N] " % account.pw_dir).lower() in ("y", "yes")


def _aliases(session: Session, name: str, where: str) -> list[str]:
    """Aliases with this name, or with a member of this name."""
    rows = answers.readable(session.reference.action("alias_enum"),
                            session.value("alias_enum", {"query": name, "limit": 1000}))
    return [row["alias_name"] for row in rows["items"]
            if name in row[where].lower().split(", ")]


VERBS: upkeep.Verbs = {
    "list": (_list, 0, 0),
    "show": (_show, 1, 1),
    "add": (_add, 1, 1),
    "password": (_password, 1, 1),
    "remove": (_remove, 1, 1),
}
