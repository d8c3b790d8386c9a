"""Requests to the programs, which are run on this machine as the web server runs them."""
from __future__ import annotations

import json
import os
import shutil
import subprocess

from mailvane.common import request_log
from mailvane.common.display import plain
from mailvane.common.errors import NoAnswer

TYPE_CHECKING = False
if TYPE_CHECKING:
    from typing import Any, IO

STEP = 1 << 16
UNRESERVED = set(b"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~")


class Answer:
    """A program's answer: its headers, its body, which can be read once, and then its lines in
    the system log."""

    def __init__(self, process: subprocess.Popen, log: request_log.RequestLog) -> None:
        assert process.stdout  # that is how it is started
        self._process = process
        self._output: IO[bytes] = process.stdout
        self.log = log
        self.headers: dict[str, str] = {}
        for line in iter(self._output.readline, b"\n"):
            name, colon, value = line.decode(errors="replace").partition(":")
            if not colon:
                self._end()
                raise NoAnswer("no answer", self.log.errors())
            self.headers[name.lower()] = value.strip()
        self.status = int(self.headers.get("status", "200").split()[0])

    def copy(self, target: IO[bytes]) -> None:
        """Copies the body to a stream."""
        try:
            shutil.copyfileobj(self._output, target, STEP)
        finally:
            self._end()

    def content(self) -> bytes:
        """Reads the body."""
        try:
            return self._output.read()
        finally:
            self._end()

    def json(self) -> Any:
        """Reads the body and parses it as JSON."""
        return self.value(self.content())

    def value(self, body: bytes) -> Any:
        """Parses a body, read before, as JSON."""
        try:
            return json.loads(body)
        except ValueError as problem:
            raise NoAnswer("the answer is no JSON", self.log.errors()) from problem

    def _end(self) -> None:
        self._output.close()
        self._process.wait()
        self.log.end()


class Gateway:
    """Sends requests to one program in the name of one user, with more in their environment. `naming`
    is the parameter or member that says what is asked for."""

    def __init__(self, program: str, naming: str, user: str, more: dict[str, str]) -> None:
        self._program = program
        self._naming = naming
        self._user = user
        self._more = more

    def read(self, name: str, parameters: dict) -> Answer:
        """Asks for something that needs no body and returns the answer."""
        pairs = [(self._naming, name), *parameters.items()]
        query = "&".join(quoted(key) + "=" + quoted(str(value)) for key, value in pairs)
        return self._send({"REQUEST_METHOD": "GET", "QUERY_STRING": query}, [])

    def write(self, name: str, members: dict) -> Answer:
        """Asks for something by a body and returns the answer."""
        body = json.dumps({self._naming: name, **members}).encode()
        return self._post("application/json", len(body), [body])

    def upload(self, path: str) -> Answer:
        """Uploads a file and returns the answer."""
        boundary = os.urandom(16).hex()
        name = "".join(sign if sign.isprintable() and sign not in '"\\' else "_"
                       for sign in os.path.basename(path))
        head = ('--%s\r\nContent-Disposition: form-data; name="file"; filename="%s"\r\n'
                "Content-Type: application/octet-stream\r\n\r\n" % (boundary, name)).encode()
        tail = ("\r\n--%s--\r\n" % boundary).encode()
        with open(path, "rb") as file:
            size = os.fstat(file.fileno()).st_size
            return self._post("multipart/form-data; boundary=" + boundary,
                              len(head) + size + len(tail), [head, file, tail])

    def _post(self, kind: str, length: int, parts: list) -> Answer:
        return self._send({"REQUEST_METHOD": "POST", "CONTENT_TYPE": kind,
                           "CONTENT_LENGTH": str(length)}, parts)

    def _send(self, head: dict[str, str], parts: list) -> Answer:
        # In its own session, so that Ctrl-C ends this command and not a change halfway.
        log = request_log.RequestLog()
        with open(os.devnull, "rb") as nothing:
            process = subprocess.Popen(
                [self._program], env={**self._environment(), **head}, cwd="/",
                stdin=subprocess.PIPE if parts else nothing, stdout=subprocess.PIPE,
                stderr=log.descriptor, start_new_session=True)
        if process.stdin:
            _feed(process.stdin, parts)
        return Answer(process, log)

    def _environment(self) -> dict[str, str]:
        language = os.environ.get("LC_ALL") or os.environ.get("LANG") or ""
        return {
            **request_log.ENVIRONMENT,
            "GATEWAY_INTERFACE": "CGI/1.1",
            "PATH": "/usr/sbin:/usr/bin:/sbin:/bin",
            "REMOTE_USER": self._user,
            "REMOTE_ADDR": "local (%s)" % plain(os.environ.get("SUDO_USER") or "root"),
            "HTTP_HOST": "localhost",
            "HTTP_X_MAILVANE": "mailvanectl",
            "HTTP_ACCEPT_LANGUAGE": language.partition("_")[0].partition(".")[0],
            **self._more,
        }


def quoted(text: str) -> str:
    """A text, percent-encoded for a query string."""
    return "".join(chr(byte) if byte in UNRESERVED else "%%%02X" % byte
                   for byte in text.encode(errors="surrogateescape"))


def _feed(stream: IO[bytes], parts: list) -> None:
    try:
        with stream:
            for part in parts:
                if isinstance(part, bytes):
                    stream.write(part)
                else:
                    shutil.copyfileobj(part, stream, STEP)
    except BrokenPipeError:
        pass  # the program has answered without reading the rest
