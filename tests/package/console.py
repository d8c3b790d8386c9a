#!/usr/bin/python3
"""What a browser gets from a machine where the web console was just installed.

The machine (see inside.py) has the administrator alice and was handed over before.
"""
import json
import re

import inside
from inside import PASSWORD, check, run

SITE = "http://127.0.0.1:8080"


def fetch(address, *options):
    """The head, in lower case, and the body of an answer."""
    head, _, body = run("curl", "-sS", "-i", *options, SITE + address).partition("\n\n")
    return head.lower(), body


def page():
    """Anybody gets the page and its files, nobody what they ask for without a login."""
    head, body = fetch("/")
    check(head.split()[1], "200", "the page")
    check("content-security-policy: default-src 'none'" in head, True, "its policy")
    for address in re.findall(r'(?:src|href)="(/assets/[^"]+)"', body):
        check(fetch(address, "-o", "/dev/null", "-D", "-")[0].split()[1], "200", address)
    check(fetch("/upkeep.cgi?call=about")[0].split()[1], "401", "a call without a login")


def call():
    """An administrator's calls are answered by the second program, which the gate lets through."""
    head, body = fetch("/upkeep.cgi?call=about", "-u", "alice:" + PASSWORD)
    check(head.split()[1], "200", "a call")
    check(json.loads(body)["caller"], "alice", "who calls")


inside.walk(page, call)
