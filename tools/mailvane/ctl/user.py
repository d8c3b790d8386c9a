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
import pwd
import sys

from mailvane.common import accounts, display, passwords
from mailvane.common.errors import Usage
from mailvane.ctl import answers, mail_program, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--json", "--yes", "--delete-mailbox", "--keep-mailbox"}

PAGE = 1000  # users that are asked for at a time


def run(session: Session, words: list[str]) -> int:
    """Runs one verb."""
    return upkeep.dispatch(session, words, VERBS, "user")


def candidates(before: list[str]) -> list[str]:
    """The words that can follow, for completion."""
    if not before:
        return list(VERBS)
    named = before[0] in ("show", "password", "remove") and len(before) == 1
    return sorted(user.pw_name for user in pwd.getpwall() if accounts.serves(user)) if named else []


def _list(session: Session) -> int:
    users: list[dict] = []
    total = 1
    while len(users) < total:
        page = session.told("user_list", {"start": len(users), "limit": PAGE})
        users += page["users"]
        total = page["total"] if page["users"] else 0
    if "--json" in session.flags:
        display.print_json(users)
        return answers.DONE
    display.print_table(("NAME", "UID", "ADDRESS", "HOME", ""),
                       [(user["name"], user["uid"], user["address"], user["home"],
                         "administrator" if user["administrator"] else "") for user in users])
    return answers.DONE


def _show(session: Session, name: str) -> int:
    return _print_access(session, session.told("user_show", {"name": name}))


def _print_access(session: Session, access: dict) -> int:
    del access["success"]
    if "--json" in session.flags:
        display.print_json(access)
    else:
        print(mail_program.as_text(access))
    return answers.DONE


def _add(session: Session, name: str) -> int:
    password = passwords.ask(name, "mail")
    return _print_access(session, session.call("user_add", {"name": name, "password": password}))


def _password(session: Session, name: str) -> int:
    password = passwords.ask(name, "mail")
    session.call("user_password", {"name": name, "password": password})
    print("%s has a new password for mail" % name)
    return answers.DONE


def _remove(session: Session, name: str) -> int:
    upkeep.confirm(session, "This removes the user %s." % display.plain(name))
    mailbox = _mailbox(session, name)
    done = session.call("user_remove", {"name": name, "mailbox": mailbox})
    print("%s is removed; %s" % (name, "the mailbox stays in %s, which is root's now" %
                                 done["home"] if done["kept"] else "the mailbox is gone"))
    for alias in done["aliases"]:
        answers.complain("%s is still a member of the alias %s" % (name, alias))
    return answers.DONE


def _mailbox(session: Session, name: str) -> str:
    """What becomes of the mailbox."""
    given = session.flags & {"--delete-mailbox", "--keep-mailbox"}
    if len(given) == 1:
        return "delete" if "--delete-mailbox" in given else "keep"
    if given or not sys.stdin.isatty():
        raise Usage("say one of --delete-mailbox and --keep-mailbox")
    question = "Delete all mail of %s too? [y/N] " % display.plain(name)
    return "delete" if input(question).lower() in ("y", "yes") else "keep"


VERBS: upkeep.Verbs = {
    "list": (_list, 0, 0),
    "show": (_show, 1, 1),
    "add": (_add, 1, 1),
    "password": (_password, 1, 1),
    "remove": (_remove, 1, 1),
}
