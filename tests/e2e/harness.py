"""The machine under test, seen from outside: HTTP, SMTP, IMAP, the files and the system log.

The tests run inside the world, next to the servers; see in_world.sh.
"""
import base64
import contextlib
import email.message
import hashlib
import http.client
import imaplib
import json
import os
import smtplib
import socket
import ssl
import subprocess
import time
import unittest

import contract

DOMAIN = "mv.test"
PACKAGE = "/var/packages/Mailvane"
ETC = PACKAGE + "/etc"
TARGET = PACKAGE + "/target"
PROGRAM = TARGET + "/ui/mailvane.cgi"
SYSLOG = "/var/log/syslog"
POSTFIX_CONFIGURATION = ETC + "/generated/current/postfix"
WEB = ("127.0.0.1", 8080)

PATIENCE = 150  # seconds after which something is not slow any more, but broken

CONTRACTS = contract.by_address()

# What save_smtp takes besides its action.
PAGE = ("smtp_enabled", "smtp_port", "smtp_ssl_enabled", "smtps_port", "smtp_tls_enabled",
        "smtp_tls_port", "restrict_sender", "account_type", "acc_domain_name", "smtp_hostname")


class Answer:
    """Status, headers and body of an HTTP answer."""

    def __init__(self, response):
        self.status = response.status
        self.headers = response.headers
        self.body = response.read()

    def json(self):
        return json.loads(self.body)

    def __repr__(self):
        return "%d %r" % (self.status, self.body[:300])


def request(path="/mailvane.cgi", user="admin", body=None, headers=None, method=None):
    """Sends one request as a user (None for nobody) and returns its answer, which has to be one that
    the description of the API has."""
    head = dict(headers or {})
    if user is not None:
        login = "%s:pw-%s" % (user, user)
        head["Authorization"] = "Basic " + base64.b64encode(login.encode()).decode()
    connection = http.client.HTTPConnection(*WEB, timeout=PATIENCE)
    with contextlib.closing(connection):
        connection.request(method or ("GET" if body is None else "POST"), path, body, head)
        answer = Answer(connection.getresponse())
    address = path.partition("?")[0]
    if address in CONTRACTS:
        CONTRACTS[address].check((path, head, body), answer)
    return answer


def read(action, **more):
    """Answer of an action without a body."""
    return request("/mailvane.cgi?action=" + action, **more)


def post(body, **more):
    """Answer to a JSON body: an object, or the bytes as they are."""
    if not isinstance(body, bytes):
        body = json.dumps(body).encode()
    headers = {"Content-Type": "application/json", **more.pop("headers", {})}
    return request(body=body, headers=headers, **more)


def ask(call, body=None, **more):
    """JSON answer of a call: one that tells something, or with the members of its body one that
    does something."""
    if body is None:
        return request("/upkeep.cgi?call=" + call, **more).json()
    return post({"call": call, **body}, path="/upkeep.cgi", **more).json()


def tell(action, **members):
    """Answer to a JSON body with an action and its members, which has to be success."""
    answer = post({"action": action, **members}).json()
    if answer.get("success") is not True:
        raise AssertionError("%s: %r" % (action, answer))
    return answer


def command(action):
    """JSON answer of an action that has no body, but changes something."""
    return read(action, headers={"X-Mailvane": "1"}).json()


def load():
    """The loaded SMTP page; anything but success is a failure."""
    answer = read("load_smtp")
    page = answer.json() if answer.status == 200 else {}
    if page.get("success") is not True:
        raise AssertionError("load_smtp: %r" % answer)
    return page


def save(**changes):
    """What save_smtp answers to the stored page with some changes."""
    page = load()
    body = {name: page[name] for name in PAGE}
    answer = post({"action": "save_smtp", **body, **changes})
    if answer.status != 200:
        raise AssertionError("save_smtp: %r" % answer)
    return answer.json()


def start_save(**changes):
    """Starts the program as the web server does, to save the stored page with some changes."""
    page = load()
    body = {name: page[name] for name in PAGE}
    data = json.dumps({"action": "save_smtp", **body, **changes}).encode()
    environment = {"REQUEST_METHOD": "POST", "REMOTE_USER": "admin",
                   "CONTENT_TYPE": "application/json", "CONTENT_LENGTH": str(len(data))}
    process = subprocess.Popen([PROGRAM], env=environment, stdin=subprocess.PIPE,
                               stdout=subprocess.DEVNULL, start_new_session=True)
    process.stdin.write(data)
    process.stdin.close()
    return process


def settings():
    """The stored settings by name, as texts."""
    with open(ETC + "/mailvane.conf", encoding="utf-8") as file:
        pairs = (line.strip().partition("=") for line in file if "=" in line)
        return {name: value.strip('"') for name, _, value in pairs}


def run(*command, check=True, **more):
    """Output of a program."""
    return subprocess.run(command, check=check, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL, timeout=PATIENCE,
                          **more).stdout


def control(service, verb):
    """Exit status of a control script."""
    script = "%s/scripts/%s.sh" % (TARGET, service)
    return subprocess.run([script, verb], check=False, stdin=subprocess.DEVNULL,
                          timeout=PATIENCE).returncode


def postconf(name):
    return run("/usr/sbin/postconf", "-c", POSTFIX_CONFIGURATION, "-h", name).strip()


def answers(port, address="127.0.0.1"):
    """Whether somebody listens on a port, as a rule of this machine."""
    try:
        socket.create_connection((address, port), 5).close()
        return True
    except ConnectionRefusedError:
        return False


def banner(port=25):
    """The line an SMTP server opens with."""
    with socket.create_connection(("127.0.0.1", port), 10) as connection:
        line = connection.makefile("rb").readline().decode().strip()
        connection.sendall(b"QUIT\r\n")
        return line


@contextlib.contextmanager
def listener(port, family=socket.AF_INET):
    """A stranger that holds a port."""
    with socket.socket(family) as holder:
        holder.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        if family == socket.AF_INET6:
            holder.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_V6ONLY, 1)
        holder.bind(("", port))
        holder.listen(8)
        yield


def wait_for(condition, what):
    """Waits until the condition gives something true, and returns that."""
    end = time.monotonic() + PATIENCE
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > end:
            raise AssertionError("waited in vain for " + what)
        time.sleep(0.02)


def unverified():
    """TLS to a server with a certificate that nobody signed."""
    context = ssl.create_default_context()
    context.check_hostname = False
    context.verify_mode = ssl.CERT_NONE
    return context


def send(sender, recipients, subject, port=25, login=None):
    """Sends a message by SMTP; with a login, after STARTTLS."""
    message = email.message.EmailMessage()
    message["From"] = sender
    message["To"] = ", ".join(recipients)
    message["Subject"] = subject
    message.set_content("A message.\n")
    with smtplib.SMTP("127.0.0.1", port, "client.test", PATIENCE) as client:
        if login:
            client.starttls(context=unverified())
            client.login(login, "pw-" + login.partition("@")[0])
        client.send_message(message, sender, recipients)


def smtp_answer(transaction, recipient):
    """Code and words by which the server answers a mail that the function sends."""
    try:
        transaction()
        return 250, "taken"
    except smtplib.SMTPRecipientsRefused as refusal:
        code, words = refusal.recipients[recipient]
    except smtplib.SMTPResponseException as refusal:
        code, words = refusal.smtp_code, refusal.smtp_error
    return code, words.decode()


def mails(user, subject, port=143, folder="INBOX"):
    """Texts of a user's mails with a subject, read by IMAP."""
    with imaplib.IMAP4("127.0.0.1", port, timeout=PATIENCE) as client:
        client.starttls(unverified())
        client.login(user, "pw-" + user.partition("@")[0])
        client.select(folder)
        found = client.search(None, "SUBJECT", '"%s"' % subject)[1][0].split()
        return [client.fetch(number, "(RFC822)")[1][0][1].decode() for number in found]


def delivered(user, subject, folder="INBOX"):
    """Waits for a mail and returns its text."""
    what = "the mail %r of %s" % (subject, user)
    return wait_for(lambda: mails(user, subject, folder=folder), what)[0]


def below(folder):
    """The paths of all folders and files in a folder, at any depth."""
    return [os.path.join(path, name) for path, folders, files in os.walk(folder)
            for name in folders + files]


def snapshot(*folders):
    """Every file below some folders with all that a change of it would change."""
    return {path: _fingerprint(path) for folder in folders for path in below(folder)}


def _fingerprint(path):
    info = os.lstat(path)
    if os.path.islink(path):
        return os.readlink(path)
    if os.path.isdir(path):
        return info.st_mode
    with open(path, "rb") as file:
        return info.st_mode, info.st_mtime_ns, hashlib.sha256(file.read()).hexdigest()


def pid_of(pid_file):
    with open(pid_file, encoding="ascii") as file:
        return int(file.read())


class SystemLog:
    """The part of the system log that is written from here on."""

    def __init__(self):
        self._start = os.path.getsize(SYSLOG)

    def lines(self):
        """The program's own lines, but for those that only tell who changed something."""
        return [line for line in self._all() if " audit: " not in line]

    def audit(self):
        """The lines that tell who changed something, from the name of the user on."""
        return [line.partition(" audit: ")[2] for line in self._all() if " audit: " in line]

    def _all(self):
        # What was sent before this line is in the file once the line is.
        mark = "read up to here %d" % time.monotonic_ns()
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as log:
            log.sendto(mark.encode(), "/dev/log")
        wait_for(lambda: mark.encode() in self._rest(), "the system log")
        text = self._rest().decode(errors="replace")
        return [line for line in text.splitlines() if "mailvane" in line]

    def _rest(self):
        with open(SYSLOG, "rb") as file:
            file.seek(self._start)
            return file.read()


class Story(unittest.TestCase):
    """Tests of one world. Each starts from the page as it was when the world was new."""

    first_page = None
    change = staticmethod(tell)

    def setUp(self):
        if Story.first_page is None:
            page = load()
            Story.first_page = {name: page[name] for name in PAGE}
        self.addCleanup(self.restore)

    def restore(self):
        page = load()
        if any(page[name] != value for name, value in self.first_page.items()):
            self.assert_saved(**self.first_page)

    def assert_saved(self, **changes):
        answer = save(**changes)
        self.assertIs(answer["success"], True, answer)

    def assert_system_error(self, answer):
        self.assertEqual(answer["errinfo"], {"sec": "common", "key": "error_system"})
        self.assertIs(answer["success"], False)

    def assert_mail_flows(self, subject, port=25):
        send("someone@elsewhere.test", ["bob@" + DOMAIN], subject, port)
        delivered("bob", subject)
