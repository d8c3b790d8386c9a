"""A relay host: an SMTP server that takes mail from those who log in, or from everybody.

tests/package runs it in machines that have nothing else of the tests: it imports none of them.
"""
import base64
import contextlib
import socket
import socketserver
import ssl
import threading


class _Session(socketserver.StreamRequestHandler):
    """One conversation. Commands end up in the method of their name."""

    timeout = 120  # seconds, for a busy machine

    def setup(self):
        if self.server.wraps:
            self.request = self.server.context.wrap_socket(self.request, server_side=True)
        super().setup()

    def handle(self):
        self.logged_in = False
        self.encrypted = self.server.wraps
        self.say("220 relay.test ESMTP")
        with contextlib.suppress(ConnectionError, TimeoutError, ssl.SSLError):
            while line := self.rfile.readline():  # STARTTLS replaces the file
                verb, _, rest = line.decode().strip().partition(" ")
                method = getattr(self, "on_" + verb.lower(), None)
                if method is None:
                    self.say("250 fine")
                elif method(rest) is False:
                    break

    def finish(self):
        super().finish()
        self.connection.close()  # with TLS it is not the one that the server closes

    def say(self, line):
        self.wfile.write(line.encode() + b"\r\n")

    def on_ehlo(self, _):
        self.say("250-relay.test")
        if not self.encrypted and self.server.offers_tls:
            self.say("250-STARTTLS")
        self.say("250 AUTH PLAIN")

    def on_starttls(self, _):
        self.say("220 go ahead")
        self.connection = self.server.context.wrap_socket(self.connection, server_side=True)
        self.rfile = self.connection.makefile("rb")
        self.wfile = self.connection.makefile("wb", 0)
        self.encrypted = True

    def on_auth(self, rest):
        answer = base64.b64decode(rest.partition(" ")[2])
        self.server.logins.append(answer)
        self.logged_in = tuple(answer.decode().split("\0")[1:]) == self.server.login
        self.say("235 welcome" if self.logged_in else "535 5.7.8 wrong login")

    def on_mail(self, _):
        may = self.logged_in or self.server.login is None
        self.say("250 fine" if may else "530 5.7.0 log in first")

    def on_rcpt(self, rest):
        self.server.recipients.append(rest.partition("<")[2].partition(">")[0])
        self.say("250 fine")

    def on_data(self, _):
        self.say("354 go on")
        lines = list(iter(self.rfile.readline, b".\r\n"))
        self.server.mails.append((self.encrypted, b"".join(lines).decode()))
        self.say("250 taken")

    def on_quit(self, _):
        self.say("221 bye")
        return False


class RelayHost(socketserver.ThreadingTCPServer):
    """Listens on a port of this machine while it is a context; `mails` are pairs of "came by TLS"
    and text. Without a login everybody may send; without a certificate there is no TLS.
    With `wraps` it begins before the first line."""

    allow_reuse_address = True
    daemon_threads = True

    def __init__(self, port, login=None, certificate=None, key=None, address="127.0.0.1",
                 wraps=False):
        self.address_family = socket.AF_INET6 if ":" in address else socket.AF_INET
        super().__init__((address, port), _Session)
        self.login = login
        self.wraps = wraps
        self.offers_tls = certificate is not None
        self.mails = []
        self.recipients = []
        self.logins = []
        if self.offers_tls:
            self.context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            self.context.load_cert_chain(certificate, key)

    def __enter__(self):
        threading.Thread(target=self.serve_forever, args=(0.05,), daemon=True).start()
        return self

    def __exit__(self, *_):
        self.shutdown()
        self.server_close()

    def has(self, subject):
        """The mail with a subject, if it has come."""
        return next((mail for mail in self.mails if "Subject: " + subject in mail[1]), None)
