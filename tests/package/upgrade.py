#!/usr/bin/python3
"""The walk of a machine that was handed over, from its use to the package's end.

  upgrade.py TREE

TREE is the folder over which the machine (see inside.py) was booted. It was handed over and given
back before, and /root/next.deb is the package's next version, which words main.cf in another way.
"""
import json
import subprocess
import sys

import inside
from inside import check, run

TREE = sys.argv[1]
URL = "http://127.0.0.1:8080/mailvane.cgi"
MAIN = inside.PACKAGE + "/etc/generated/current/postfix/main.cf"
APT = ("env", "DEBIAN_FRONTEND=noninteractive", "apt-get", "-qq", "-y")
PORTS = {"imap": 143, "imaps": 993, "pop3": 110, "pop3s": 995}


def ask(body):
    """Answer of the program to a JSON body, by the web server."""
    login = "alice:" + inside.PASSWORD
    return json.loads(run("curl", "-s", "-u", login, "-H", "Content-Type: application/json", "-d",
                          "@-", URL, typed=json.dumps(body)))


def load(action):
    """A page of the program."""
    return json.loads(run("curl", "-s", "-u", "alice:" + inside.PASSWORD,
                          URL + "?action=" + action))


def save(page, **changes):
    """Saves a page as it is loaded, with changes."""
    body = {**load("load_" + page), **changes, "action": "save_" + page}
    check(ask(body), {"success": True}, "save_" + page)


def unit(name):
    """Whether a unit runs and whether it will at the next boot."""
    return [run("sh", "-c", "systemctl %s %s || :" % (verb, name)).strip()
            for verb in ("is-active", "is-enabled")]


def listens(port):
    """Whether somebody listens on a port."""
    return run("ss", "-Hltn", "sport", "=", str(port)) != ""


def use():
    """A save starts and stops what it names, now and for the next boot."""
    run(inside.SETUP, "adopt", "--yes")
    save("imap_pop3", pop3_enabled=True)
    check(listens(PORTS["pop3"]), True, "POP3")
    for wanted in (True, False, True):
        save("security", enable_dmarc=wanted, enable_dkim=False)
        check(unit("mailvane-opendmarc.service"),
              ["active", "enabled"] if wanted else ["inactive", "disabled"], "the DMARC checker")
    inside.arrive("office@old.test", "in use", "alice", "bob")


def tls():
    """The network is served once there is a certificate."""
    check((listens(8080), listens(8443)), (True, False), "before there is a certificate")
    run("sh", "-c", "cd /root && openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes "
        "-days 9 -subj /CN=mail.old.test -addext subjectAltName=DNS:mail.old.test "
        "-keyout key.pem -out cert.pem 2>/dev/null")
    run("mailvanectl", "tls", "install", "/root/cert.pem", "/root/key.pem")
    for port in ("8443", str(PORTS["imaps"])):
        run("sh", "-c", "openssl s_client -connect 127.0.0.1:%s -verify_return_error "
            "-CAfile /root/cert.pem </dev/null" % port)
    check(run("curl", "-s", "-o", "/dev/null", "-w", "%{http_code}", "--cacert", "/root/cert.pem",
              "--resolve", "mail.old.test:8443:127.0.0.1",
              "https://mail.old.test:8443/mailvane.cgi?action=load_smtp"), "401", "without a login")


def boot():
    """A machine that loses power comes up as the stored settings say."""
    subprocess.run([inside.MACHINE, "halt", inside.STATE], check=True)
    subprocess.run([inside.MACHINE, "boot", inside.STATE, TREE], check=True)
    check(run("systemctl", "list-units", "--failed", "--plain", "--no-legend"), "", "failed units")
    check(unit("mailvane-opendmarc.service"), ["active", "enabled"], "the DMARC checker")
    check(unit("mailvane-memcached.service"), ["inactive", "disabled"], "memcached")
    inside.arrive("office@old.test", "after the boot", "alice", "bob")
    check(load("load_imap_pop3")["pop3_enabled"], True, "POP3 by the web server")


def upgrade():
    """The next version's wording is in force; settings and the administrator's files are kept, and no
    mail is lost or doubled."""
    run("sh", "-c", "echo 'mailbox_size_limit = 0' >%s/etc/local.d/main.cf" % inside.PACKAGE)
    run("sh", "-c", "echo '# mine' >>/etc/default/mailvane")
    settings = run("sort", inside.PACKAGE + "/etc/mailvane.conf")
    sender = inside.Sending("info@second.test", 100, "upgrade")
    run(*APT, "install", "/root/next.deb")
    sender.arrives("alice")
    text = run("cat", MAIN)
    check("MADE BY MAILVANE" in text, True, "the new wording in " + text[:200])
    check("mailbox_size_limit = 0" in text, True, "the administrator's fragment")
    check(run("tail", "-n", "1", "/etc/default/mailvane"), "# mine\n", "the administrator's ports")
    check(run("sort", inside.PACKAGE + "/etc/mailvane.conf"), settings, "settings")
    check(run("systemctl", "list-units", "--failed", "--plain", "--no-legend"), "", "failed units")


def remove():
    """Without the package the machine's own server takes the mail again; the settings stay."""
    run(*APT, "remove", "mailvane")
    inside.arrive("office@old.test", "removed", "alice", "bob")
    run("test", "-s", inside.PACKAGE + "/etc/alias.db")
    check(run("sh", "-c", "systemctl list-units --all --plain --no-legend 'mailvane*' | grep -v "
                          "not-found || :"), "", "units")


def purge():
    """Nothing of it is left but mail."""
    run(*APT, "purge", "mailvane")
    inside.nothing_left()
    for subject in ("old 0", "in use 0", "removed 0"):
        check(subject in inside.subjects("alice"), True, subject)


inside.walk(use, tls, boot, upgrade, remove, purge)
