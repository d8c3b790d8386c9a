#!/usr/bin/python3
"""What users of a machine that was just handed over do with their mail programs.

The machine (see inside.py) has the administrator alice; its mail domain is its host name. Nothing is
known of it here but ports, names and passwords.
"""
import time

import inside
from inside import PASSWORD, check, run

DOMAIN = "mail.example.test"
RUN = str(time.time_ns())  # mail of an earlier run may still be there

# The answer to a recipient elsewhere, asked for without a login.
STRANGER = r"""
import smtplib
with smtplib.SMTP("127.0.0.1", 25, "sender.test", timeout=60) as server:
    server.ehlo()
    server.mail("guest@sender.test")
    print(server.rcpt("friend@far.test")[0])
"""


def make_user():
    """A user is an account of the machine."""
    run("sh", "-c", "id bob >/dev/null 2>&1 || useradd --create-home --shell /usr/sbin/nologin bob")
    run("chpasswd", typed="bob:%s\n" % PASSWORD)


def receive():
    """Mail from another server comes in; it is no way through to others."""
    inside.arrive("bob@" + DOMAIN, "from outside " + RUN, "bob")
    check(inside.python(STRANGER), "554\n", "a stranger's mail to elsewhere")


def send():
    """A user's mail program sends with a login, another one fetches."""
    subject = "hello " + RUN
    inside.python(inside.SUBMITTER, "alice", PASSWORD, "alice@" + DOMAIN, "bob@" + DOMAIN, subject)
    for port in (143, 993):
        inside.until(lambda: inside.subjects("bob", port).count(subject) == 1,
                     "the message at port %d" % port)


inside.walk(make_user, receive, send)
