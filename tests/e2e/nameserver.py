"""A DNS of the tests' own, and clients with addresses of their own."""
import contextlib
import os
import signal
import subprocess

import harness

RESOLVER = "/etc/resolv.conf"


def local_network(prefix):
    """Makes every address of a prefix one of this machine, though no interface shows it: the mail
    server takes it for a stranger's."""
    harness.run("/usr/sbin/ip", "route", "replace", "local", prefix, "dev", "lo")


class NameServer:
    """dnsmasq with some records, as the machine's only name server."""

    def __init__(self, *records, address="127.0.0.1"):
        self._address = address
        self._records = records
        self._process = None
        self._resolver = ""

    def start(self):
        self._process = subprocess.Popen(
            ["/usr/sbin/dnsmasq", "--keep-in-foreground", "--conf-file=/dev/null", "--no-resolv",
             "--no-hosts", "--user=root", "--pid-file", "--listen-address=" + self._address,
             "--bind-interfaces", "--local=/test/", "--local=/arpa/",
             *["--" + record for record in self._records]],
            stdin=subprocess.DEVNULL)
        with open(RESOLVER, encoding="ascii") as file:
            self._resolver = file.read()
        with open(RESOLVER, "w", encoding="ascii") as file:
            file.write("nameserver %s\n" % self._address)
        harness.wait_for(lambda: harness.answers(53, self._address), "the name server")

    def stop(self):
        self._process.kill()
        self._process.wait()
        with open(RESOLVER, "w", encoding="ascii") as file:
            file.write(self._resolver)

    def restart(self, *records):
        """Goes on with other records."""
        self.stop()
        self._records = records
        self.start()

    @contextlib.contextmanager
    def silent(self):
        """While it lasts, questions get no answer at all."""
        os.kill(self._process.pid, signal.SIGSTOP)
        try:
            yield
        finally:
            os.kill(self._process.pid, signal.SIGCONT)
