"""Machines on one bridge, each a world of its own, and the example of docs/many_machines.md."""
import os
import re
import subprocess

import harness

TOP = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
BUILD = os.environ["MAILVANE_BUILD"]
WORLD = TOP + "/packaging/world"
FOLDER = "/root/config"  # has the documents
SCRIPTS = harness.TARGET + "/scripts/"
MACHINES = {"box": "10.1.0.1", "spare": "10.1.0.2", "hub": "10.1.0.3"}

# What systemd does on a real machine.
SYSTEMCTL = """#!/bin/bash
[ "$1" = restart ] || exit 0
exec >/dev/null 2>&1 </dev/null
case $2 in
memcached)
    install -d -o memcache /run/memcached
    setsid /usr/share/memcached/scripts/systemd-memcached-wrapper /etc/memcached.conf &
    until echo >/dev/tcp/10.1.0.3/11211; do sleep .05; done ;;
rsyslog)
    printf '%s\\n' '$WorkDirectory /var/spool/rsyslog' 'include(file="/etc/rsyslog.d/mailvane.conf")' >/run/rsyslog.conf
    exec /usr/sbin/rsyslogd -f /run/rsyslog.conf -i /run/rsyslogd.pid ;;
nslcd)
    install -d -o nslcd -g nslcd /run/nslcd
    exec /usr/sbin/nslcd ;;
esac
"""


def blocks():
    """The files and commands of the document by their first lines, as whom they are for and what
    they are: {("hub", "counters"): text}. Files of documents have nobody."""
    with open(TOP + "/docs/many_machines.md", encoding="utf-8") as file:
        text = file.read()
    found = {}
    for block in re.findall(r"(?:^    .*\n|^\n(?=    ))+", text, re.M):
        lines = [line[4:] for line in block.strip("\n").splitlines()]
        for part in re.split(r"\n+(?=# )", "\n".join(lines)):
            head, _, rest = part.partition("\n")
            whom, _, what = head.removeprefix("# ").rpartition(": ")
            found[whom, what] = rest.strip("\n") + "\n"
    return found


class Machine:
    """A machine on the bridge."""

    def __init__(self, name):
        self.name = name
        self.address = MACHINES[name]
        self._state = "%s/e2e/test_many_machines/%s" % (BUILD, name)

    def start(self):
        """Installs it as in_world.sh does, and makes it a machine of the net."""
        harness.run(WORLD, "start", self._state, "--net", "--bind", TOP, "--bind", BUILD)
        with open(self._state + "/pid", encoding="ascii") as file:
            process = file.read().strip()
        harness.run("ip", "link", "add", self.name, "master", "mail", "up", "type", "veth",
                    "peer", "name", "mail0", "netns", process)
        self.run("ip addr add %s/24 dev mail0; ip link set mail0 up; hostname %s.example.org"
                 % (self.address, self.name))
        self.run(TOP + '/packaging/install-into %s smtp_hostname=%s.test acc_domain_name=%s.test'
                 % (BUILD, self.name, self.name))
        self.run(TOP + "/packaging/add-account admin administrators <<<pw-admin")
        self.write("/usr/local/bin/systemctl", SYSTEMCTL, 0o755)
        for service in ("maillog", "dovecot", "postfix"):
            self.run(SCRIPTS + service + ".sh start")

    def run(self, commands, check=True):
        """Output of commands of a shell, in the folder of the documents."""
        script = "mkdir -p {0}; cd {0}; PATH=$PATH:/usr/local/bin:{1}/bin\n{2}".format(
            FOLDER, harness.TARGET, commands)
        done = subprocess.run([WORLD, "enter", self._state, "/bin/bash", "-ec", script],
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, timeout=harness.PATIENCE,
                              check=False)
        if check and done.returncode != 0:
            raise AssertionError("%s: %s\n%s" % (self.name, commands, done.stdout))
        return done.stdout

    def write(self, path, text, mode=0o644):
        subprocess.run([WORLD, "enter", self._state, "/bin/bash", "-ec",
                        'mkdir -p "${1%/*}"; cat >"$1"; chmod "$2" "$1"', "-", path, "%o" % mode],
                       input=text.encode(), check=True, timeout=harness.PATIENCE)
