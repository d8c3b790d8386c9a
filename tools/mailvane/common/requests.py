"""Requests to the program in a user's name, and the meaning of its answers."""
import os

from mailvane.common import reasons
from mailvane.common.errors import Refused, Usage
from mailvane.common.reference import Action, Reference
from mailvane.common.texts import Texts

TYPE_CHECKING = False
if TYPE_CHECKING:
    from mailvane.common.gateway import Gateway


class Requests:
    """The actions of an installed package, and the gateway for calling them."""

    def __init__(self, target: str, user: str = "", more: dict[str, str] | None = None) -> None:
        self.reference = Reference(target + "/share/mailvane/actions.json")
        self.texts = Texts(target)
        self._program = target + "/ui/mailvane.cgi"
        self._user = user
        self._more = {} if more is None else more
        self._gateway: Gateway | None = None

    def gateway(self) -> "Gateway":
        """The gateway to the program, made when first needed; `help` needs none."""
        from mailvane.common.gateway import Gateway
        if self._gateway is None:
            if os.geteuid() != 0:
                raise Usage("only root can run the program")
            self._gateway = Gateway(self._program, self._user or _administrator(), self._more)
        return self._gateway

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
