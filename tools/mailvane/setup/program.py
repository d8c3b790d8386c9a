"""Use of the installed package: requests as the web server sends them, control scripts, tools."""
import os
import tempfile

from mailvane.common import daemons, files, requests
from mailvane.common.requests import Requests
from mailvane.setup.run import Failed, attempt, heed, output


# In the environment of requests: what is to be done as another mail server did it, and no better.
TAKES_OVER = "MAILVANE_TAKES_OVER"


class Program:
    """The installed package, used in the name of an administrator."""

    def __init__(self, target: str, administrator: str) -> None:
        self._target = target
        self._environment = {TAKES_OVER: "relay"}
        self._session = Requests(target, administrator, self._environment)

    def prepare(self, first: dict[str, str]) -> None:
        """Finishes an interrupted save. Without a configuration, makes one from the settings
        `first`."""
        tool = self._target + "/bin/hald_set_config"
        etc = os.path.dirname(self._target) + "/etc"
        output(tool, "recover")
        if not os.path.exists(etc + "/generated/current"):
            if first and not os.path.lexists(etc + "/mailvane.conf"):
                text = "".join('%s="%s"\n' % pair for pair in first.items())
                files.replace(etc + "/mailvane.conf", text.encode(), 0o600)
            output(tool, "render")

    def keep_port_logins(self) -> None:
        """Has the following requests leave logins on the port of other servers."""
        self._environment[TAKES_OVER] = "relay logins"

    def call(self, name: str, members: dict) -> dict:
        """Calls an action and returns its answer."""
        heed()
        action = self._session.reference.action(name)
        gateway = self._session.gateway()
        answer = (gateway.read if action.kind == "read" else gateway.write)(name, members)
        value = answer.json()
        why = requests.refusal(action, answer.status, value)
        if why:
            raise Failed("%s: %s" % (name, why))
        return value

    def page(self, name: str) -> dict:
        """The stored values of a page."""
        return self.call("load_" + name, {})

    def text_of(self, page: str, member: str) -> str:
        """The description of a member of a page."""
        reference = self._session.reference
        return reference.action(reference.pages()[page]).member(member).text

    def save(self, page: str, changes: dict) -> None:
        """Changes members of a page."""
        action = self._session.reference.action(self._session.reference.pages()[page])
        loaded = self.call(action.edits, {})
        self.call(action.name, requests.edited(action, loaded, changes))

    def upload(self, name: str, text: str) -> None:
        """Imports a list."""
        action = self._session.reference.action("upload")
        with tempfile.NamedTemporaryFile("w", encoding="utf-8", prefix="mailvane-") as file:
            file.write(text)
            file.flush()
            self.call(name, {})
            answer = self._session.gateway().upload(file.name)
        why = requests.refusal(action, answer.status, answer.json())
        if why:
            raise Failed("%s: %s" % (name, why))

    def start_services(self) -> None:
        """Starts, restarts or stops each mail service as the settings ask."""
        for name in daemons.mail_services(self._target):
            heed()
            output("%s/scripts/%s.sh" % (self._target, name), "start")


def stop_services(target: str) -> list[str]:
    """Stops all mail services; returns what failed."""
    faults = []
    for name in reversed(daemons.mail_services(target)):
        script = "%s/scripts/%s.sh" % (target, name)
        status, _, errors = attempt(script, "stop")
        if status != 0 and os.path.exists(script):
            faults.append("%s.sh stop: %s" % (name, errors.strip()))
    return faults
