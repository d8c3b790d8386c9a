"""Calls of upkeep, made as the gate makes them."""
import email
import json
import subprocess
import urllib.parse

import harness
from harness import TARGET

PROGRAM = TARGET + "/ui/upkeep.cgi"


class Answer:
    """Status, headers and body of the program's answer."""

    def __init__(self, output):
        head, _, self.body = output.partition(b"\n\n")
        self.headers = email.message_from_bytes(head)
        self.status = int(self.headers.get("Status", "200").split()[0])

    def json(self):
        return json.loads(self.body)

    def reasons(self):
        """Pairs of what a refusal names and the code."""
        told = json.loads(self.headers.get("X-Mailvane-Reason", "[]"))
        return [(*(value for name, value in entry.items() if name != "code"), entry["code"])
                for entry in told]

    def __repr__(self):
        return "%d %r %s" % (self.status, self.body[:300], self.headers)


def start(environment, body, user="admin"):
    """The program, started for a request."""
    environment = {"REMOTE_USER": user, "REMOTE_ADDR": "127.0.0.1", "HTTP_HOST": "localhost",
                   "HTTP_X_MAILVANE": "1", **environment}
    process = subprocess.Popen([PROGRAM], env=environment, stdin=subprocess.PIPE,
                               stdout=subprocess.PIPE)
    process.stdin.write(body)
    process.stdin.close()
    return process


def ask(call, user="admin", **parameters):
    """Answer to a call that tells something, held against the description."""
    query = urllib.parse.urlencode({"call": call, **parameters})
    process = start({"REQUEST_METHOD": "GET", "QUERY_STRING": query}, b"", user)
    answer = Answer(_output(process))
    harness.CONTRACTS["/upkeep.cgi"].check(("/upkeep.cgi?" + query, {}, b""), answer)
    return answer


def body_of(call, members):
    return json.dumps({"call": call, **members}).encode()


def tell(call, user="admin", **members):
    """Answer to a call that does something."""
    body = body_of(call, members)
    head = {"Content-Type": "application/json"}
    process = start({"REQUEST_METHOD": "POST", "CONTENT_TYPE": "application/json",
                     "CONTENT_LENGTH": str(len(body))}, body, user)
    answer = Answer(_output(process))
    harness.CONTRACTS["/upkeep.cgi"].check(("/upkeep.cgi", head, body), answer)
    return answer


def _output(process):
    with process:
        return process.stdout.read()
