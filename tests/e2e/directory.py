"""A directory of accounts: slapd with a few entries, and the name service that asks it."""
import contextlib
import os
import signal
import subprocess

from harness import answers, run, wait_for

BASE = "dc=mv,dc=test"
PORT = 3389
CONFIGURATION = """include /etc/ldap/schema/core.schema
include /etc/ldap/schema/cosine.schema
include /etc/ldap/schema/nis.schema
modulepath /usr/lib/ldap
moduleload back_mdb
pidfile /run/slapd.pid
database mdb
maxsize 67108864
suffix "%s"
directory /var/lib/ldap-test
""" % BASE
CLIENT = """uid nslcd
gid nslcd
uri ldap://127.0.0.1:%d/
base %s
nss_min_uid 1000
map shadow userPassword userPassword
""" % (PORT, BASE)


def entry(name, values):
    return "dn: %s,%s\n" % (name, BASE) + "".join("%s: %s\n" % value for value in values) + "\n"


def user(name, number, expires=-1):
    """A user whose password is as those of the local ones."""
    password = run("/usr/bin/openssl", "passwd", "-5", "pw-" + name).strip()
    return entry("uid=" + name, (
        ("objectClass", "account"), ("objectClass", "posixAccount"),
        ("objectClass", "shadowAccount"), ("uid", name), ("cn", name), ("uidNumber", number),
        ("gidNumber", 6000), ("homeDirectory", "/home/" + name), ("shadowExpire", expires),
        ("userPassword", "{CRYPT}" + password)))


def group(name, number, *members):
    return entry("cn=" + name, (
        ("objectClass", "posixGroup"), ("cn", name), ("gidNumber", number),
        *(("memberUid", member) for member in members)))


class Directory:
    def __init__(self, *entries):
        root = "dn: %s\nobjectClass: domain\ndc: mv\n\n" % BASE
        self.text = root + "".join(entries)
        self._servers = []

    def start(self):
        for path, text in (("/etc/ldap/test.conf", CONFIGURATION), ("/etc/nslcd.conf", CLIENT)):
            with open(path, "w", encoding="ascii") as file:
                file.write(text)
        os.makedirs("/var/lib/ldap-test")
        subprocess.run(["/usr/sbin/slapadd", "-q", "-f", "/etc/ldap/test.conf"], check=True,
                       input=self.text.encode())
        self._run("/usr/sbin/slapd", "-d", "0", "-f", "/etc/ldap/test.conf", "-h",
                  "ldap://127.0.0.1:%d" % PORT)
        wait_for(lambda: answers(PORT), "slapd")
        os.makedirs("/run/nslcd", exist_ok=True)
        run("chown", "nslcd:nslcd", "/run/nslcd")
        self.start_client()
        run("sed", "-i", "-E", "/^(passwd|group|shadow):/s/files/files ldap/", "/etc/nsswitch.conf")

    def start_client(self):
        self._run("/usr/sbin/nslcd", "-n")
        wait_for(lambda: os.path.exists("/run/nslcd/socket"), "nslcd")

    def stop_client(self):
        client = self._servers.pop()
        client.terminate()
        client.wait()

    @contextlib.contextmanager
    def hanging(self):
        """While it lasts, the server does nothing."""
        self._servers[0].send_signal(signal.SIGSTOP)
        try:
            yield
        finally:
            self._servers[0].send_signal(signal.SIGCONT)

    def stop(self):
        while self._servers:
            self.stop_client()

    def _run(self, *command):
        self._servers.append(subprocess.Popen(
            command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL))
