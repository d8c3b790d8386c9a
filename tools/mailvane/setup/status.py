"""mailvane-setup status: whether the machine's mail was handed over, and who serves it."""
from mailvane.common import daemons
from mailvane.common.errors import Usage
from mailvane.common.files import content
from mailvane.setup import app, originals

WORDS = ""
SUMMARY = "what was handed over and since when, and who serves the mail"
OPTIONS: list[str] = []
# The file in /proc that shows which configuration a server has read.
SERVERS = (("SMTP", "postfix", "environ"), ("mailboxes", "dovecot", "cmdline"))
OURS = b"/var/packages/Mailvane/etc/generated/current/"
PHASES = {"adopted": "handed over since %s", "": "not handed over",
          "adopting": "half handed over since %s: under way, or run adopt or remove",
          "removing": "half given back (handed over %s): under way, or run remove"}


def run(session: app.Session, _: set[str], words: list[str]) -> int:
    """Prints the status."""
    if words:
        raise Usage("status takes no %s" % words[0])
    phase = session.state.phase()
    since = session.state.values.get("since", "")
    print("The machine's mail is " + (PHASES[phase] % since if phase else PHASES[""]))
    pid_files = {daemon["name"]: daemon["pid_file"] for daemon in daemons.mail()}
    for name, daemon, where in SERVERS:
        print("%-10s %s" % (name, _server(pid_files[daemon], where)))
    for path in originals.changed(session.state.values.get("files", {})):
        print("%-10s %s" % ("changed", path))
    return app.DONE


def _server(pid_file: str, where: str) -> str:
    process = (content(pid_file) or b"").strip().decode()
    told = content("/proc/%s/%s" % (process, where)) if process.isdigit() else None
    if told is None:
        return "nobody"
    return "%s (process %s)" % ("mailvane" if OURS in told else "the machine's own", process)
