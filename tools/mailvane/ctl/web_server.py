"""The package's own web server, which shows the mail server's certificate when it serves the
network."""
from mailvane.common import daemons, paths, programs
from mailvane.common.errors import Refused

SCRIPT = paths.PACKAGE + "/target/scripts/web.sh"
TLS_PORT = "MAILVANE_WEB_TLS_PORT"
PORTS = ("MAILVANE_WEB_PORT", TLS_PORT)


class WebServer:
    """The one that runs when this is made; it can be started again after it has failed."""

    def __init__(self) -> None:
        self._ports = _ports()

    def renew(self) -> None:
        """Makes it take up the certificate. It reads the key before it gives up its rights, so that
        it has to start again. Refused when it does not come up."""
        if self._ports.get(TLS_PORT) and programs.run([SCRIPT, "restart"], self._ports)[0] != 0:
            raise Refused("the web server does not come up")


def _ports() -> dict[str, str]:
    """The ports in the environment of the one that runs; empty when none does."""
    try:
        with open(daemons.named("web")["pid_file"], encoding="ascii") as file:
            number = int(file.read())
        with open("/proc/%d/environ" % number, "rb") as file:
            pairs = (pair.decode(errors="replace").partition("=")
                     for pair in file.read().split(b"\0"))
            return {name: value for name, _, value in pairs if name in PORTS}
    except (OSError, ValueError):
        return {}
