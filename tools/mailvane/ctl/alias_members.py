"""Members of an alias as single words, and those that nobody knows.

  bob                a user
  @staff             a group
  alias:sales        another alias
  eve@example.org    an address elsewhere
  -bob, -@staff ...  no longer a member
"""
from mailvane.ctl.session import Session

USER, GROUP, ALIAS, OUTSIDE = range(4)
KIND = "member"  # the reference's name for such words
FORMS = "bob, @staff, alias:sales or eve@example.org, with - before it to remove"
ALIAS_MARK = "alias:"
ACTION = "apply_alias_info"


def entry(word: str) -> dict:
    """The entry for the action that a word stands for."""
    joins = not word.startswith("-")
    word = word.removeprefix("-")
    if word.startswith("@"):
        kind, name = GROUP, word[1:]
    elif word.startswith(ALIAS_MARK):
        kind, name = ALIAS, word[len(ALIAS_MARK):]
    else:
        kind, name = (OUTSIDE if "@" in word else USER), word
    return {"name": name, "type": kind, "is_join": joins}


def unknown(session: Session, entries: list[dict]) -> list[str]:
    """Warnings about new members without a mailbox here: the program accepts them, but mail to them
    would bounce. About unknown groups the program warns itself."""
    from mailvane.common import accounts
    names = [one["name"] for one in entries if one.get("type") == USER and one.get("is_join")]
    return ["%s is not a mail user: mail to the alias comes back from there" % name
            for name in names
            if not accounts.is_mail_user(name) and not _is_alias(session, name)]


def _is_alias(session: Session, name: str) -> bool:
    answer = session.gateway().read("alias_enum", {"query": name, "limit": 1000})
    return any(row["alias_name"].lower() == name.lower()
               for row in answer.json().get("items", []))
