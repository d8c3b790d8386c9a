"""A web server with the built console whose programs answer as their descriptions say, or as a test
wants it: with any errinfo, late, cut off, or with what is no answer at all."""
import contextlib
import http.server
import json
import re
import sys
import threading
import urllib.parse
from pathlib import Path

TOP = Path(__file__).resolve().parents[2]
sys.path[:0] = [str(TOP / "tests/e2e"), str(TOP / "tools/reference")]

import contract
import openapi

# The headers of the console's files, from the one place where they stand.
HEADERS = dict(re.findall(r'^add_header (\S+) "?(.+?)"? always;', (
    TOP / "console/web/headers.nginx").read_text(encoding="ascii"), re.M))
TYPES = {".html": "text/html; charset=utf-8", ".js": "text/javascript; charset=utf-8", ".css": "text/css; charset=utf-8",
         ".json": "application/json", ".svg": "image/svg+xml", ".txt": "text/plain; charset=utf-8"}
FOUND = 2  # entries of each list

# What is answered for members that mean more than their schemas say.
VALUES = {"status": "OK", "date": 1_790_000_000, "begins": 1_790_000_000, "ends": 1_890_000_000, "arrival": 1_790_000_000,
          "is_join": True, "isFinish": True, "in_force": False, "running": False, "total": FOUND}
# The same for single actions.
OWN = {"get_account_type": {"accountType": "local"},
       "dkim_list": {"pairs": [{"date": "20260102T030405Z", "key": "one.private", "signs": True},
                               {"date": "20250102T030405Z", "key": "two.private", "signs": False}]},
       "mailvane_check": {"settings": [{"key": "postfix", "status": "FAILED"}, {"key": "dovecot", "status": "OK"}]},
       "overview_load": {"statistic": [{"inbound": number, "outbound": 2, "bounce": 1} for number in range(30)]}}

CONTRACTS = contract.by_address()


class Stub:
    """Serves a folder with the console at `home`; use it in a `with` block.

    `plan` has what single actions answer: a function from the request's members to an Answer or to JSON;
    under `files`, from the path of a file to its content: empty for none, None for what it is.
    `asked` collects the names of actions that were asked for."""

    def __init__(self, site):
        self.site = Path(site)
        self.contracts = CONTRACTS
        self.plan = {}
        self.asked = []
        handler = type("Handler", (_Handler,), {"stub": self})
        self._server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), handler)
        self.port = self._server.server_address[1]
        self.home = "http://127.0.0.1:%d/" % self.port

    def __enter__(self):
        threading.Thread(target=self._server.serve_forever, kwargs={"poll_interval": 0.05}, daemon=True).start()
        return self

    def __exit__(self, *_):
        self._server.shutdown()
        self._server.server_close()

    @contextlib.contextmanager
    def answering(self, **plan):
        """Other answers of some actions, for a while; under `everything`, of all that sign nobody in."""
        before = self.plan
        self.plan = {**before, **plan}
        try:
            yield
        finally:
            self.plan = before

    def operation(self, name):
        return next(found for one in self.contracts.values()
                    for (_, action), found in one.operations.items() if action == name)

    def errinfos(self):
        """Triples of action, section and key: every errinfo that an answer can have."""
        for one in self.contracts.values():
            for (_, name), operation in one.operations.items():
                for schema in openapi.answer_schemas(operation):
                    section = openapi.constant(schema, "errinfo", "sec")
                    key = schema.get("properties", {}).get("errinfo", {}).get("properties", {}).get("key", {})
                    for word in key.get("enum", [key.get("const")]) if section else []:
                        yield name, section, word

    def usual(self, name):
        """What an action answers that succeeds."""
        shapes = openapi.answer_schemas(self.operation(name))
        return {**sample(shapes[0], name), **OWN.get(name, {})} if shapes else Answer(
            b"a file", headers={"Content-Disposition": "attachment"})

    def nothing(self, name):
        """What an action answers that finds nothing."""
        found = self.usual(name)
        if name == "overview_load":
            return {**found, "statistic": [dict.fromkeys(one, 0) for one in found["statistic"]]}
        return found if isinstance(found, Answer) else {
            member: [] if isinstance(one, list) else 0 if member == "total" else one for member, one in found.items()}

    def refusal(self, name, section, key):
        """An answer with an errinfo, and one of the reasons that the action can have."""
        one = next(one for one in self.contracts.values() if any(name == action for _, action in one.operations))
        operation = self.operation(name)
        schema = next(schema for schema in openapi.answer_schemas(operation)
                      if openapi.constant(schema, "errinfo", "sec") == section)
        answer = sample(schema, name)
        answer["errinfo"].update(sec=section, key=key)
        kind, about, code = min(cause for cause in one.causes(operation) if cause[0] != "line")
        about = about.replace(contract.ANY, "postfix" if kind == "service" else "smtp_hostname")
        return Answer(answer, headers={contract.REASONS: json.dumps([{kind: about, "code": code}])})


class Answer:
    """An answer, as bytes or what becomes JSON. `cut`: it ends in the middle. `gate` is waited for before
    the answer, or in its middle."""

    def __init__(self, body=b"", status=200, headers=None, gate=None, cut=False):
        is_json = not isinstance(body, bytes)
        self.body = json.dumps(body).encode() if is_json else body
        self.status = status
        self.headers = {"Content-Type": "application/json"} if is_json else {}
        self.headers.update(headers or {})
        self.gate = gate
        self.cut = cut


def sample(schema, name=""):
    """A value that a schema allows."""
    if "anyOf" in schema:
        return sample(schema["anyOf"][0], name)
    if "const" in schema:
        return schema["const"]
    if "enum" in schema:
        return schema["enum"][0]
    if schema.get("x-choices"):
        return schema["x-choices"][0]["value"]
    if schema.get("type") == "null":
        return None
    if schema.get("type") == "object":
        return {member: sample(about, member) for member, about in schema.get("properties", {}).items()}
    if schema.get("type") == "array":
        return [varied(sample(schema["items"], name), number) for number in range(FOUND)]
    if name in VALUES and contract.is_of(schema.get("type", "string"), VALUES[name]):
        return VALUES[name]
    text = schema.get("x-mask", ("x" + name)[:schema.get("maxLength")])
    return {"integer": schema.get("minimum", 7), "boolean": True}.get(schema.get("type"), text)


def varied(value, number):
    """The entry of a list, so that no two are the same."""
    if isinstance(value, dict):
        return {member: "%s%d" % (one, number) if isinstance(one, str) and one.startswith("x") else one
                for member, one in value.items()}
    return "%s%d" % (value, number) if isinstance(value, str) else value


class _Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def handle(self):
        with contextlib.suppress(ConnectionError):  # of pages that are left
            super().handle()

    def do_GET(self):
        path = urllib.parse.urlsplit(self.path).path
        if path in openapi.PROGRAMS:
            self.answer(b"")
        else:
            self.send_file(path)

    def send_file(self, path):
        file = self.stub.site / (path.lstrip("/") or "index.html")
        content = self.stub.plan.get("files", lambda _: None)(path)
        if content is None and file.is_file():
            content = file.read_bytes()
        self.reply(Answer(content or b"", 200 if content else 404, {
            **HEADERS, "Content-Type": TYPES.get(file.suffix, "text/plain"), "Cache-Control": "no-store"}))

    def do_POST(self):
        self.answer(self.rfile.read(int(self.headers["Content-Length"])))

    def answer(self, body):
        kind, name = contract.action_of(self.path, self.headers, body)
        self.stub.asked.append(name)
        query = dict(urllib.parse.parse_qsl(urllib.parse.urlsplit(self.path).query))
        members = json.loads(body) if kind == openapi.WRITE else query
        plan = self.stub.plan
        usual = self.stub.usual
        made = plan[name](members) if name in plan else plan.get("everything", lambda _: usual(name))(members) \
            if name != "get_account_type" else usual(name)
        self.reply(made if isinstance(made, Answer) else Answer(made))

    def reply(self, answer):
        if answer.gate and not answer.cut:
            answer.gate.wait()
        with contextlib.suppress(ConnectionError):
            self.send_response(answer.status)
            for header in answer.headers.items():
                self.send_header(*header)
            self.send_header("Content-Length", str(len(answer.body)))
            self.end_headers()
            self.wfile.write(answer.body[:len(answer.body) // 2] if answer.cut else answer.body)
            self.close_connection = self.close_connection or answer.cut
        if answer.gate and answer.cut:
            answer.gate.wait()

    def log_message(self, *_):
        """Says nothing."""
