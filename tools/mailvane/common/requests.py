"""Requests to the programs in a user's name, and the meaning of their answers."""
import os

from mailvane.common import reasons
from mailvane.common.errors import Refused, Usage
from mailvane.common.reference import Action, Reference
from mailvane.common.texts import Texts

TYPE_CHECKING = False
if TYPE_CHECKING:
    from mailvane.common.gateway import Answer, Gateway


class Requests:
    """The actions of an installed package, and the gateway for calling them."""

    def __init__(self, target: str, user: str = "", more: dict[str, str] | None = None) -> None:
        self.reference = Reference(target + "/share/mailvane/actions.json")
        self.texts = Texts(target)
        self._folder = target + "/ui/"
        self._user = user
        self._more = {} if more is None else more
        self._gateways: dict[str, Gateway] = {}

    def gateway(self) -> "Gateway":
        """The gateway to the actions, made when first needed; `help` needs none."""
        return self._gateway("mailvane.cgi", "action")

    def calls(self) -> "Gateway":
        """The gateway to the calls of upkeep."""
        return self._gateway("upkeep.cgi", "call")

    def _gateway(self, program: str, naming: str) -> "Gateway":
        from mailvane.common.gateway import Gateway
        if program not in self._gateways:
            if os.geteuid() != 0:
                raise Usage("only root can run the program")
            self._gateways[program] = Gateway(
                self._folder + program, naming, self._user or _administrator(), self._more)
        return self._gateways[program]

    def told(self, name: str, parameters: dict | None = None) -> dict:
        """What a call tells; Refused when it does not."""
        return self._judged(name, self.calls().read(name, parameters or {}))

    def call(self, name: str, members: dict | None = None) -> dict:
        """The answer of a call that does something; Refused when it was not done."""
        return self._judged(name, self.calls().write(name, members or {}))

    def download(self, name: str, parameters: dict) -> "Answer":
        """The file that a call answers with; Refused when it does not."""
        answer = self.calls().read(name, parameters)
        if "content-disposition" not in answer.headers:
            self._judged(name, answer)
        return answer

    def _judged(self, name: str, answer: "Answer") -> dict:
        value = answer.json()
        if answer.status == 200 and value.get("success") is True:
            return value
        raise Refused("%s: %s" % (name, value.get("error", "it was not done")), [
            *reasons.told(answer, self.texts), *answer.log.errors()])

    def value(self, name: str, members: dict | None = None) -> dict:
        """Calls an action and returns its answer; Refused when that is a refusal."""
        action = self.reference.action(name)
        gateway = self.gateway()
        answer = (gateway.read if action.kind == "read" else gateway.write)(name, members or {})
        value = answer.json()
        why = refusal(action, answer.status, value)
        if why:
            raise Refused("%s: %s" % (name, why), [
                *reasons.told(answer, self.texts), *answer.log.errors()])
        return value


def _administrator() -> str:
    from mailvane.common.administrators import first_administrator
    return first_administrator()


def refusal(action: Action, status: int, value: object) -> str:
    """Why an answer is a refusal or not as its action should give it; "" when it is good."""
    if not isinstance(value, dict):
        return "nothing could be told; the system log says why"
    if status != 200:
        return "%s (%d)" % (value.get("error", "refused"), status)
    errinfo = value.get("errinfo")
    if errinfo:
        return _reason(action, errinfo)
    return "" if value.get("success", True) else "it failed; the system log says why"


def _reason(action: Action, errinfo: dict) -> str:
    section, key = errinfo.get("sec", ""), errinfo.get("key", "")
    text = "%s/%s" % (section, key)
    if "errField" in errinfo:
        text += " (%s)" % errinfo["errField"]
    meaning = action.reason(section, key)
    return text + (": " + meaning if meaning else "")


def edited(save: Action, page: dict, given: dict) -> dict:
    """The members to send for a change of a page: the changes, and those loaded members that would
    count as off when missing. Passwords are left out, which keeps the stored ones."""
    kept = {name: page[name] for name, member in save.members.items()
            if member.required and not member.secret and name in page}
    return {**kept, **given}
