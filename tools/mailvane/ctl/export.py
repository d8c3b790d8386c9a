"""mailvanectl export [FILE] [--with-secrets] [--with-personal]: writes settings and lists as one
document, to FILE (mode 0600) or to standard output.

It is YAML, in an order that depends on nothing but the contents: made for people and for version
control. `mailvanectl diff` and `apply` take it. Passwords are left out and marked: !secret NAME;
--with-secrets writes them. --with-personal adds forwarding and automatic replies of the users. Not in
it: keys, certificates, mail, logins."""
import os
import sys

from mailvane.common import paths
from mailvane.common.audit import audited
from mailvane.common.errors import Usage
from mailvane.common.files import replace
from mailvane.ctl import answers, upkeep
from mailvane.ctl.session import Session

OPTIONS = {"--with-secrets", "--with-personal"}


def run(session: Session, words: list[str]) -> int:
    """Writes the document."""
    upkeep.require_root()
    if len(words) > 1:
        raise Usage("export to one file")
    options = sorted(session.flags)
    with audited("export", options):
        text = upkeep.run_tool(paths.DOCUMENT_TOOL, "export", *options)
    if words:
        replace(os.path.abspath(words[0]), text.encode(), 0o600)
    else:
        sys.stdout.buffer.write(text.encode())
    return answers.DONE
