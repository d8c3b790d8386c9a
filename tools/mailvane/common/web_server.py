"""The package's web server, which uses the mail server's certificate when it serves the network."""
from mailvane.common import daemons, paths, programs
from mailvane.common.errors import Refused

SCRIPT = paths.PACKAGE + "/target/scripts/web.sh"
TLS_PORT = "MAILVANE_WEB_TLS_PORT"
PORTS = ("MAILVANE_WEB_PORT", TLS_PORT)


class WebServer:
    """The web server that runs when the object is made; it can also be started again after a
    failure."""

    def __init__(self) -> None:
        self._ports = _ports()

    def renew(self) -> None:
        """Restarts it with the new certificate; a reload is not enough, since it reads the key
        before it gives up root's rights. Refused when it does not start."""
        if self._ports.get(TLS_PORT) and programs.run([SCRIPT, "restart"], self._ports)[0] != 0:
            raise Refused("the web server does not come up")


def _ports() -> dict[str, str]:
    """The ports in the environment of the running web server; empty when none runs."""
    try:
        with open(daemons.named("web")["pid_file"], encoding="ascii") as file:
            number = int(file.read())
        with open("/proc/%d/environ" % number, "rb") as file:
            pairs = (pair.decode(errors="replace").partition("=")
                     for pair in file.read().split(b"\0"))
            return {name: value for name, _, value in pairs if name in PORTS}
    except (OSError, ValueError):
        return {}
