#!/usr/bin/python3
"""The walk of a machine whose mail servers came with the package: nobody configured them, or one of
them only. Each case hands it over, looks at what people reach, and gives it back.

  fresh.py PACKAGE    the name of its file in /root

The machine (see inside.py) is bare.
"""
import sys

import inside
from inside import PASSWORD, SETUP, check, run

COMPANIONS = {80: "lighttpd", 783: "spamd", 8461: "postfix-mta-sts-resolver", 11211: "memcached"}
OLD_BOXES = {110, 143, 993, 995}  # of Debian's Dovecot as it comes
PEOPLE = {25, 587, 143, 993}
WATCHED = {*COMPANIONS, *OLD_BOXES, *PEOPLE, 465, 1143}
APT = ("env", "DEBIAN_FRONTEND=noninteractive", "apt-get", "-qq", "-y", "-o", "Dpkg::Use-Pty=0")

BARE = r"""
set -e
echo mail.example.test >/etc/hostname
hostname mail.example.test
# What is recommended compiles the scanner's rules for minutes.
dpkg-divert --local --rename --add /usr/bin/sa-compile >/dev/null
ln -s /bin/true /usr/bin/sa-compile
"""

# What Debian's package makes of an answer, as at its installation; no main.cf is there before.
ANSWER = r"""
set -e
rm -f /etc/postfix/main.cf /etc/postfix/master.cf
echo PURGE | debconf-communicate postfix >/dev/null
echo "postfix postfix/main_mailer_type select $0" | debconf-set-selections
export DEBIAN_FRONTEND=noninteractive
dpkg-reconfigure postfix >/root/reconfigure.log 2>&1
systemctl restart postfix 2>/dev/null
"""


def install():
    """The installation tells what listens now, also what is configured after the package."""
    run("sh", "-c", BARE)
    text = run(*APT, "install", "/root/" + sys.argv[1], longest=1800)
    told = {line.split()[0]: line.split()[-1] for line in text.splitlines() if line.strip()}
    for port, package in COMPANIONS.items():
        check(told.get(str(port)), package, "told in\n" + text[-2000:])
    run(SETUP, "admin", "alice", typed=PASSWORD + "\n")


def listening():
    """Of the ports that are looked at, those that somebody listens on."""
    rows = run("ss", "-Hltn").splitlines()
    return {int(row.split()[3].rpartition(":")[2]) for row in rows} & WATCHED


def units():
    """Whether the services that came along run, now and after the next boot."""
    names = [*COMPANIONS.values(), "amavisd-milter"]
    return run("sh", "-c", "systemctl is-active $*; systemctl is-enabled $* 2>/dev/null; true",
               "sh", *names)


def answered(kind):
    """Postfix as Debian's package configures it, for an answer of debconf."""
    run("bash", "-c", ANSWER, kind)


def hand_over(wanted, *texts, use=lambda: None):
    """Hands over, compares what is reached, gives back."""
    before, states = listening(), units()
    check(set(COMPANIONS) - before, set(), "what came along runs")
    text = run(SETUP, "adopt", "--yes")
    for line in texts:
        check(line in text, True, line + " in\n" + text)
    check(text.count("People reach"), 1, "what people reach is told once in\n" + text)
    check(listening(), wanted, "ports\n" + text)
    check(run("sh", "-c", "systemctl is-active amavisd-milter || :"), "inactive\n", "its milter")
    use()
    run(SETUP, "remove", "--yes")
    check((listening(), units()), (before, states), "given back")


def type_of_postfix(kind, *texts, use=lambda: None):
    """A case in which nobody configured anything."""
    answered(kind)
    hand_over(PEOPLE, "Nobody has configured Postfix", "Nobody has configured Dovecot",
              "submission   port 587", "IMAPS        port 993", *texts, use=use)


def internet():
    """Internet Site; mail arrives and is read."""
    type_of_postfix("Internet Site", "NAME@mail.example.test", use=lambda: inside.arrive(
        "alice@mail.example.test", "fresh", "alice"))


def no_configuration():
    """No configuration."""
    type_of_postfix("No configuration")


def local_only():
    """Local only: it was shut, and is not any more."""
    type_of_postfix("Local only", "inet_interfaces = loopback-only: here",
                    "default_transport = error: here")


def relayed():
    """Internet with smarthost, and Satellite system: the relay host is taken over."""
    for kind in ("Internet with smarthost", "Satellite system"):
        answered(kind)
        hand_over(PEOPLE, "smtp_relay_server = smtp.example.test")


def site():
    """A web server with a site of its own stays."""
    own = "/etc/lighttpd/conf-enabled/50-own.conf"
    answered("Internet Site")
    run("sh", "-c", "echo '# a site' >$0", own)
    hand_over(PEOPLE | {80}, "lighttpd.service (%s is not" % own)
    run("rm", own)


def postfix_only():
    """Postfix was configured, Dovecot not; a service of its own is no door."""
    answered("Internet Site")
    run("sh", "-c", "postconf -e message_size_limit=20971520 home_mailbox=Maildir/ "
                    "&& postconf -M 'smtps/inet=smtps inet n - y - - smtpd' "
                    "&& postconf -P smtps/inet/smtpd_tls_wrappermode=yes "
                    "&& postconf -M '127.0.0.1:10025/inet=127.0.0.1:10025 inet n - y - - smtpd'"
                    "&& systemctl restart postfix")
    hand_over({25, 465, 143, 993}, "Nobody has configured Dovecot", "message_size_limit_mb = 20",
              "service 127.0.0.1:10025")


def dovecot_only():
    """Dovecot was configured, Postfix not; POP3 came along, so that nobody wanted it."""
    own = "/etc/dovecot/conf.d/99-own.conf"
    answered("Internet Site")
    run("sh", "-c", "cat >$0 && systemctl restart dovecot", own,
        typed="mail_location = maildir:~/Maildir\n"
              "service imap-login {\n inet_listener imap {\n  port = 1143\n }\n}\n")
    # What was stored before stays where the old servers say nothing: 465 since the last case.
    hand_over({25, 465, 587, 1143, 993}, "Nobody has configured Postfix", "imap_port = 1143")
    run("sh", "-c", "rm $0 && systemctl restart dovecot", own)


def purge():
    """Purged while it has the mail, the package gives back what it has ended, and leaves nothing."""
    answered("Internet Site")
    before, states = listening(), units()
    run(SETUP, "adopt", "--yes")
    run(*APT, "purge", "mailvane")
    check((listening(), units()), (before, states), "given back")
    inside.nothing_left()


if __name__ == "__main__":
    inside.walk(install, internet, no_configuration, local_only, relayed, site, postfix_only,
                dovecot_only, purge)
