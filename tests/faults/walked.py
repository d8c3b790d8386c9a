"""The requests that are walked: what each changes, and what shows it.

Each puts one thing in force and takes it back again; `n` numbers the things. `shown` is what the
pages say of it, `in_force` what the daemons have: between two requests both are the same.
"""
import base64
import contextlib
import glob
import http.client
import imaplib
import json
import os
import shutil
import subprocess

import call_sites
import harness
from harness import DOMAIN, ETC, POSTFIX_CONFIGURATION, TARGET
from machine import contents, say_recipient, write

CTL = TARGET + "/bin/mailvanectl"
TOOL = TARGET + "/bin/hald_set_config"
CURRENT = ETC + "/generated/current"
FORM = ("--limit\r\nContent-Disposition: form-data; name=\"file\"; filename=\"list\"\r\n"
        "Content-Type: text/plain\r\n\r\n%s\r\n--limit--\r\n")


def request(action=None, upload=None, **members):
    """How a request is made: program, environment, what it reads. An action in capitals changes
    something without a body."""
    environment = {"REMOTE_USER": "admin", "HTTP_X_MAILVANE": "1", "REQUEST_METHOD": "GET"}
    if action and not members.pop("_post", True):
        return [harness.PROGRAM], {**environment, "QUERY_STRING": "action=" + action}, b""
    kind = "application/json"
    data = json.dumps({"action": action, **members}).encode()
    if upload is not None:
        kind, data = "multipart/form-data; boundary=limit", (FORM % upload).encode()
    environment.update(REQUEST_METHOD="POST", CONTENT_TYPE=kind, CONTENT_LENGTH=str(len(data)))
    return [harness.PROGRAM], environment, data


def call(name, /, **members):
    """How a call of the second program that does something is made."""
    _, environment, data = request(**members)
    data = json.dumps({"call": name, **members}).encode()
    environment["CONTENT_LENGTH"] = str(len(data))
    return [TARGET + "/ui/upkeep.cgi"], environment, data


def command(action):
    return request(action, _post=False)


def answer(done):
    """The JSON object that a request answered; None when there is none."""
    body = done.output.replace(b"\r\n", b"\n").partition(b"\n\n")[2]
    with contextlib.suppress(ValueError):
        return json.loads(body)
    return None


def ask(action, options=()):
    """What a page says."""
    return answer(call_sites.run(*command(action), options=options))


def do(*call):
    """A request that nothing disturbs; it has to succeed."""
    done = call_sites.run(*call)
    said = answer(done)
    succeeded = said.get("success") if said else done.status == 0 and not done.output
    if not succeeded:
        raise AssertionError("%s: status %d, %r" % (call[0], done.status, done.output[-300:]))


def ctl(*words):
    done = subprocess.run([CTL, *words], check=False, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          timeout=harness.PATIENCE)
    if done.returncode != 0:
        raise AssertionError("%s: %s" % (words, done.stdout.decode()))


def has(answered, key, name, list_key="items"):
    return any(item[key] == name for item in answered[list_key])


def postmap(map_name, key):
    done = subprocess.run(["/usr/sbin/postmap", "-c", POSTFIX_CONFIGURATION, "-q", key,
                           "cdb:%s/maps/%s" % (POSTFIX_CONFIGURATION, map_name)], check=False,
                          stdout=subprocess.PIPE)
    return done.stdout.decode().strip()


class Walked:
    """A request, in the terms of the walk."""

    user = None         # whose home it works in
    honest = True       # the answer tells whether it succeeded
    stays = False       # nothing takes it back
    outcome = True      # whether the new state is in force after one that nothing disturbs

    def set_up(self):
        """Once, before the first walk."""

    def prepare(self, n):
        """What precedes each request."""

    def call(self, n):
        raise NotImplementedError

    def undo(self, n):
        """The request that takes it back; the next save after a fault."""
        raise NotImplementedError

    def shown(self, n):
        return self.in_force(n)

    def in_force(self, n):
        return self.shown(n)

    def finish(self):
        """What completes or undoes it after a kill, as a boot does."""
        do([TOOL, "recover"])

    def succeeded(self, done):
        """Whether a run says that it has succeeded."""
        said = answer(done)
        return said is not None and said.get("success") is True and "errinfo" not in said


class Tool(Walked):
    """A program that tells by its exit status."""

    def succeeded(self, done):
        return done.status == 0


class AccountSwitch(Walked):
    """Each of two domains has an alias of its own."""

    names = {DOMAIN: "home", "other.test": "away"}

    def set_up(self):
        for domain in (*reversed(self.names), DOMAIN):
            do(*self.save(domain))
            if not has(ask("alias_enum&limit=50"), "alias_name", self.names[domain]):
                do(*request("apply_alias_info", aliasname=self.names[domain],
                            member=[{"name": "bob", "type": 0, "is_join": True}]))

    def save(self, domain):
        page = ask("load_smtp")
        body = {name: page[name] for name in harness.PAGE}
        return request("save_smtp", **{**body, "acc_domain_name": domain})

    def call(self, n):
        return self.save("other.test")

    def undo(self, n):
        do(*self.save(DOMAIN))

    def _is(self, domain, aliases, what):
        for switched, name in ((True, "other.test"), (False, DOMAIN)):
            if (domain, aliases) == (name, {self.names[name]}):
                return switched
        return "%s: %s with %s" % (what, domain, aliases)

    def shown(self, n):
        items = ask("alias_enum&limit=50")["items"]
        return self._is(ask("load_smtp")["acc_domain_name"],
                        {item["alias_name"] for item in items} & set(self.names.values()), "shown")

    def in_force(self, n):
        domain = harness.postconf("mydomain")
        if domain not in self.names:
            domain = harness.settings()["acc_domain_name"]
        taken = {name for name in self.names.values()
                 if say_recipient("%s@%s" % (name, domain)).startswith("250")}
        return self._is(domain, taken, "in force")


class Security(Walked):
    """DKIM is switched on."""

    def page(self, on):
        page = ask("load_security")
        page.pop("success")
        page.pop("dkim_public_key", None)
        return request("save_security", **{**page, "enable_dkim": on})

    def call(self, n):
        return self.page(True)

    def undo(self, n):
        do(*self.page(False))

    def shown(self, n):
        return ask("load_security")["enable_dkim"]

    def in_force(self, n):
        runs = harness.run("/usr/bin/pgrep", "-x", "opendkim", check=False) != ""
        called = "opendkim" in harness.postconf("smtpd_milters")
        return runs if runs == called else "runs %s, called %s" % (runs, called)


class Alias(Walked):
    def call(self, n):
        return request("apply_alias_info", aliasname="walk%d" % n,
                       member=[{"name": "bob", "type": 0, "is_join": True}])

    def undo(self, n):
        do(*request("alias_del", alias=["walk%d" % n]))

    def shown(self, n):
        return has(ask("alias_enum&limit=500"), "alias_name", "walk%d" % n)

    def in_force(self, n):
        return say_recipient("walk%d@%s" % (n, DOMAIN)).startswith("250")


class AddAccess(Walked):
    """Only stored: it comes in force when it is applied."""

    def call(self, n):
        return request("add_access", accessType=0, nameType=0, name="walk%d@far.test" % n,
                       permission="REJECT")

    def undo(self, n):
        do(*request("delete_access", deleteList=[
            {"type": 0, "nameType": 0, "name": "walk%d@far.test" % n}]))

    def shown(self, n):
        return has(ask("load_access&limit=500"), "name", "walk%d@far.test" % n)


class ApplyAccess(AddAccess):
    def prepare(self, n):
        if not AddAccess.shown(self, n):
            do(*AddAccess.call(self, n))

    def call(self, n):
        return command("apply_access_setting")

    def undo(self, n):
        super().undo(n)
        do(*self.call(n))

    def shown(self, n):
        return self.in_force(n)

    def in_force(self, n):
        return say_recipient("bob@" + DOMAIN, "walk%d@far.test" % n).startswith("554")


class BlindCopy(Walked):
    def call(self, n):
        return request("add_bcc", bccType=0, name="walk%d@far.test" % n, bccTo="carol")

    def undo(self, n):
        do(*request("delete_bcc", deleteList=[
            {"type": 0, "name": "walk%d@far.test" % n, "bccTo": "carol"}]))

    def shown(self, n):
        return has(ask("load_bcc&limit=500"), "name", "walk%d@far.test" % n)

    def in_force(self, n):
        return postmap("sender_bcc", "walk%d@far.test" % n) != ""


class Quota(Walked):
    def call(self, n):
        return request("set_sender_quota", sasl_sender="bob", quota=1000 + n)

    def undo(self, n):
        do(*request("set_sender_quota", sasl_sender="bob", quota=7))

    def shown(self, n):
        items = ask("load_sender_quota&limit=500")
        return str(1000 + n) in json.dumps(items)

    def in_force(self, n):
        return str(1000 + n) in contents(CURRENT + "/policy/limits")


class SpamRules(Walked):
    """With the filter off, the answer does not tell a refused rule set."""

    honest = False
    rule = "body WALKED /\\bwalked\\b/\nscore WALKED 3\n"

    def set_up(self):
        do(*request("import_spam_rule", rule_name="walked.cf"))
        do(*request(upload=self.rule))
        self.undo(0)

    def switch(self, on):
        return request("save_spam_rules", modifiedList=[{"ruleName": "walked.cf", "isEnable": on}])

    def call(self, n):
        return self.switch(True)

    def undo(self, n):
        do(*self.switch(False))

    def shown(self, n):
        return any(item["ruleName"] == "walked.cf" and item["isEnable"]
                   for item in ask("load_spam_rules")["items"])

    def in_force(self, n):
        return any("WALKED" in contents(path)
                   for path in glob.glob(CURRENT + "/**/*.cf", recursive=True))


class Import(Walked):
    """An import: it is announced, then its file comes. The answer never tells a failure."""

    honest = False

    def __init__(self, announcement, line, like):
        self.announcement, self.line, self.like = announcement, line, like

    def prepare(self, n):
        do(*request(**self.announcement))

    def call(self, n):
        return request(upload=self.line % n)

    def undo(self, n):
        self.like.undo(n)

    def shown(self, n):
        return self.like.shown(n)

    def in_force(self, n):
        return self.like.in_force(n)


class BlackWhite(Walked):
    def undo(self, n):
        do(*request("delete_spam_blackwhite_list", deleteList=[
            {"type": 0, "nameType": 0, "name": "walk%d@far.test" % n, "blackWhite": 1}]))

    def shown(self, n):
        return "walk%d@far.test" % n in json.dumps(ask("load_spam_blackwhite&limit=500"))


class RuleFile(Walked):
    def undo(self, n):
        do(*request("delete_rules", deleteList=[{"ruleName": "walk.cf"}]))

    def shown(self, n):
        items = ask("load_spam_rules")["items"]
        return any(item["ruleName"] == "walk.cf" and item["isEnable"] for item in items)

    def in_force(self, n):
        return any("WALK%d_" % n in contents(path)
                   for path in glob.glob(CURRENT + "/**/*.cf", recursive=True))


class Personal(Walked):
    user = "alice"

    def save(self, on, n):
        return request("save_personal", user="alice", forward_enable=on, keep_copy=True,
                       forward_addr="walk%d@far.test" % n if on else "")

    def call(self, n):
        return self.save(True, n)

    def undo(self, n):
        do(*self.save(False, n))

    def shown(self, n):
        page = ask("load_personal&user=alice")
        return page["forward_enable"] and page["forward_addr"] == "walk%d@far.test" % n

    def in_force(self, n):
        script = "/home/alice/.mailvane.sieve"
        return os.path.exists(script) and "walk%d@far.test" % n in contents(script)


class Report(Walked):
    def set_up(self):
        self.undo(0)

    def save(self, name):
        return request("save_report", enable_report=False, report_rcpt="bob@" + DOMAIN,
                       report_sender_name=name, report_sender_mail="bob@" + DOMAIN, hours=1,
                       mins=0, smtp_server=DOMAIN, smtp_port=587, smtp_auth=True,
                       auth_name="alice", auth_password="pw-" + name, smtp_security_conn=True)

    def call(self, n):
        return self.save("walk%d" % n)

    def undo(self, n):
        do(*self.save("none"))

    def shown(self, n):
        return ask("load_report")["report_sender_name"] == "walk%d" % n

    def in_force(self, n):
        return '="pw-walk%d"' % n in contents(ETC + "/report.conf")


class DkimKey(Walked):
    """The pair before is the old one, any other the new one."""

    before = ""

    def prepare(self, n):
        if not os.path.exists(ETC + "/dkim.key/dkim.public"):
            do(*command("generate_dkim_key"))
        self.before = contents(ETC + "/dkim.key/dkim.public")

    def call(self, n):
        return command("generate_dkim_key")

    def undo(self, n):
        do(*self.call(n))
        self.before = contents(ETC + "/dkim.key/dkim.public")

    def shown(self, n):
        return contents(ETC + "/dkim.key/dkim.public") != self.before

    def in_force(self, n):
        return harness.run("/usr/bin/openssl", "pkey", "-pubout", "-in",
                           ETC + "/dkim.key/dkim.private").strip() != self.before.strip()


class Restore(Tool):
    """Two archives; what they hold differs in settings, lists, personal settings and rules."""

    loads = ("load_smtp", "alias_enum&limit=50", "load_access", "load_bcc", "load_sender_quota",
             "load_personal&user=alice", "load_report")
    states = {}

    def set_up(self):
        page = ask("load_smtp")
        body = {name: page[name] for name in harness.PAGE}
        others = (BlindCopy(), AddAccess(), Personal(), Report())
        for other in others:
            other.set_up()
        self.keep("off")
        self.states[False] = self.answers()
        for other in others:
            do(*other.call(7))
        do(*request("save_smtp", **{**body, "smtp_hostname": "restored.test"}))
        self.keep("on")
        self.states[True] = self.answers()
        self.undo(0)

    def keep(self, name):
        ctl("backup", "/root/%s.tar" % name)

    def answers(self):
        return [ask(load) for load in self.loads]

    def call(self, n):
        return [CTL, "restore", "/root/on.tar"], None, b""

    def undo(self, n):
        ctl("restore", "/root/off.tar")

    def shown(self, n):
        found = self.answers()
        return next((on for on, state in self.states.items() if state == found), "a mixture")

    def in_force(self, n):
        signs = {harness.banner().startswith("220 restored.test "), BlindCopy().in_force(7),
                 Personal().in_force(7), Report().in_force(7)}
        return signs.pop() if len(signs) == 1 else "a mixture in force"


class Document(Restore):
    """Two documents about the same."""

    states = {}

    def keep(self, name):
        ctl("export", "/root/%s.yaml" % name, "--with-secrets", "--with-personal")

    def call(self, n):
        return [CTL, "apply", "--prune", "/root/on.yaml"], None, b""

    def undo(self, n):
        ctl("apply", "--prune", "/root/off.yaml")


class Unconfirmed(Document):
    """The same, to be confirmed; after a kill somebody confirms what is in force."""

    states = {}

    def call(self, n):
        return [CTL, "apply", "--prune", "--confirm", "3600", "/root/on.yaml"], None, b""

    def waits(self):
        return os.path.exists(ETC + "/unconfirmed")

    def finish(self):
        super().finish()
        if self.waits():
            ctl("confirm")

    def undo(self, n):
        if self.waits():
            ctl("confirm", "--undo")
        super().undo(n)


class TakenBack(Unconfirmed):
    """The new state is the one before: what was on is off."""

    states = {}

    def prepare(self, n):
        ctl("apply", "--prune", "/root/off.yaml")
        ctl(*Unconfirmed.call(self, n)[0][1:])

    def call(self, n):
        return call("take_back")

    def succeeded(self, done):
        return Walked.succeeded(self, done)

    def undo(self, n):
        if self.waits():
            ctl("confirm")
        ctl("apply", "--prune", "/root/on.yaml")

    def shown(self, n):
        return {True: False, False: True}.get(super().shown(n), "a mixture")

    def in_force(self, n):
        return {True: False, False: True}.get(super().in_force(n), "a mixture in force")


class RollBack(Walked):
    names = ("rolled.test", DOMAIN)

    def generation(self, name):
        """The latest generation but the one in force with a host name."""
        for path in sorted(glob.glob(ETC + "/generated/gen-*"), reverse=True):
            if 'smtp_hostname="%s"' % name in contents(path + "/mailvane.conf"):
                return int(path.rpartition("-")[2])
        page = ask("load_smtp")
        body = {one: page[one] for one in harness.PAGE}
        do(*request("save_smtp", **{**body, "smtp_hostname": name}))
        do(*request("save_smtp", **{**body}))
        return self.generation(name)

    def call(self, n):
        return call("rollback", number=self.generation(self.names[0]))

    def undo(self, n):
        do(*call("rollback", number=self.generation(self.names[1])))

    def shown(self, n):
        return ask("load_smtp")["smtp_hostname"] == self.names[0]

    def in_force(self, n):
        return harness.banner().startswith("220 %s " % self.names[0])


class Certificate(Tool):
    """Two certificates of one's own."""

    def set_up(self):
        for name in ("on", "off"):
            harness.run("/usr/bin/openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes",
                        "-subj", "/CN=%s.mv.test" % name, "-days", "30", "-addext",
                        "subjectAltName=DNS:%s.mv.test" % name, "-keyout", "/root/%s.key" % name,
                        "-out", "/root/%s.pem" % name)
        self.undo(0)

    def install(self, name):
        return [CTL, "tls", "install", "/root/%s.pem" % name, "/root/%s.key" % name], None, b""

    def call(self, n):
        return self.install("on")

    def undo(self, n):
        ctl(*self.install("off")[0][1:])

    def shown(self, n):
        return contents(ETC + "/tls/cert.pem").strip() == contents("/root/on.pem").strip()

    def in_force(self, n):
        sent = subprocess.run(["/usr/bin/openssl", "s_client", "-connect", "127.0.0.1:587",
                               "-starttls", "smtp"], stdin=subprocess.DEVNULL, check=False,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                              timeout=harness.PATIENCE).stdout.decode()
        if "BEGIN CERTIFICATE" not in sent:
            return "no certificate is shown"
        return "CN = on.mv.test" in sent


class CertificateCall(Certificate):
    """The same by the call, as a web server makes it."""

    def call(self, n):
        return call("tls_install", certificate=contents("/root/on.pem"), key=contents("/root/on.key"))

    def succeeded(self, done):
        return Walked.succeeded(self, done)


class People(Walked):
    """The accounts of users, which the machine's own tools change: what fails there is undone by
    them, or completed by the next request of its kind."""

    first, second = "a first s3cret", "the s3cond: one"

    @staticmethod
    def account(name):
        """Whether there is the account, whole: with a home, a password and mail."""
        known = harness.run("/usr/bin/getent", "passwd", name, check=False) != ""
        state = harness.run("/usr/bin/passwd", "--status", name, check=False).split()
        can_log_in = len(state) > 1 and state[1] == "P"
        whole = {known, can_log_in, os.path.isdir("/home/" + name)}
        return whole.pop() if len(whole) == 1 else "half an account: %s" % sorted(state)

    def remove(self, name):
        subprocess.run(["/usr/sbin/userdel", "--remove", name], check=False,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        shutil.rmtree("/home/" + name, ignore_errors=True)

    def takes_mail(self, n):
        return say_recipient("walk%d@%s" % (n, DOMAIN)).startswith("250")


class UserAdd(People):
    def call(self, n):
        return call("user_add", name="walk%d" % n, password=self.first)

    def undo(self, n):
        self.remove("walk%d" % n)

    def shown(self, n):
        return self.account("walk%d" % n)

    def in_force(self, n):
        return self.takes_mail(n)


class UserRemove(People):
    def prepare(self, n):
        self.remove("walk%d" % n)
        do(*UserAdd.call(self, n))

    def call(self, n):
        return call("user_remove", name="walk%d" % n, mailbox="delete")

    def undo(self, n):
        self.remove("walk%d" % n)

    stays = True

    def shown(self, n):
        """Whether it is gone: then its home, if that is still there, is nobody else's than root's."""
        name = "walk%d" % n
        if harness.run("/usr/bin/getent", "passwd", name, check=False):
            return False
        home = "/home/" + name
        return True if not os.path.exists(home) or os.stat(home).st_uid == 0 else "left open"

    def in_force(self, n):
        return not self.takes_mail(n)


class Password(People):
    """The password of a user for mail."""

    def set_up(self):
        do(*self.change("pw-carol", self.first))

    def change(self, old, new):
        return call("user_password", name="carol", password=new)

    def call(self, n):
        return self.change(self.first, self.second)

    def undo(self, n):
        if self.is_taken(self.second):
            do(*self.change(self.second, self.first))

    def shown(self, n):
        answers = [self.is_taken(one) for one in (self.first, self.second)]
        return answers[1] if answers.count(True) == 1 else "taken: %s" % answers

    def is_taken(self, password):
        with imaplib.IMAP4("127.0.0.1", 143, timeout=harness.PATIENCE) as client:
            client.starttls(harness.unverified())
            with contextlib.suppress(imaplib.IMAP4.error):
                client.login("carol", password)
                return True
        return False


class OwnPassword(Password):
    """The caller's login for the web."""

    def set_up(self):
        do(*self.change("pw-admin", self.first))

    def change(self, old, new):
        return call("own_password", old=old, new=new)

    def is_taken(self, password):
        login = base64.b64encode(("admin:" + password).encode()).decode()
        harness.wait_for(lambda: harness.answers(*harness.WEB[::-1]), "the web server")
        connection = http.client.HTTPConnection(*harness.WEB, timeout=harness.PATIENCE)
        with contextlib.closing(connection):
            connection.request("GET", "/upkeep.cgi?call=about",
                               headers={"Authorization": "Basic " + login})
            return connection.getresponse().status == 200


class Recovery(Alias):
    """Recovery itself, after an alias whose request was killed when its generation was in force: it
    was not stored yet."""

    honest = False
    outcome = False
    site = None

    def prepare(self, n):
        call = Alias.call(self, n)
        if self.site is None:
            sites, _ = call_sites.find(*call)
            turned = next(at for at, site in enumerate(sites)
                          if site.call.startswith("rename") and "current.new" in site.text)
            type(self).site = sites[turned + 2]
            self.undo(n)
        call_sites.run_with_fault(self.site, "SIGKILL", *call)

    def call(self, n):
        return [TOOL, "recover"], None, b""

    def succeeded(self, done):
        return done.status == 0


class Collector(Tool):
    """The collector, which takes in one message; it is in force once it is shown, once."""

    honest = False
    stays = True
    program = TARGET + "/bin/maillog_collector"
    log = "/var/log/mailvane/maillog"

    def set_up(self):
        harness.control("maillog", "stop")

    def prepare(self, n):
        queue_id = "4jWf5t%04dz9999" % n
        stamp = harness.run("/bin/date", "+%b %e %H:%M:%S").strip()
        lines = ("postfix/qmgr[1]: %s: from=<collected%d@far.test>, size=300, nrcpt=1 (queue active)",
                 "postfix/lmtp[1]: %s: to=<bob@mv.test>, relay=x, delay=0, delays=0/0/0/0, "
                 "dsn=2.0.0, status=sent (ok) <!--%d-->", "postfix/qmgr[1]: %s: removed%.0d")
        with open(self.log, "a", encoding="ascii") as file:
            for line in lines:
                file.write("%s mv %s\n" % (stamp, line % (queue_id, n)))

    def call(self, n):
        return ["/usr/bin/setpriv", "--reuid=mailvane-log", "--regid=mailvane-log",
                "--init-groups", self.program, "--once"], None, b""

    def finish(self):
        do(*self.call(0))

    def undo(self, n):
        self.finish()

    def shown(self, n):
        found = ask("load_log&limit=500")
        rows = [item for item in found["items"] if "collected%d@" % n in json.dumps(item)]
        return len(rows) == 1 if len(rows) < 2 else "%d entries" % len(rows)


ALIAS, COPY, ACCESS = Alias(), BlindCopy(), AddAccess()
REQUESTS = {
    "save_smtp": AccountSwitch(),
    "save_security": Security(),
    "apply_alias_info": ALIAS,
    "add_access": ACCESS,
    "apply_access_setting": ApplyAccess(),
    "add_bcc": COPY,
    "set_sender_quota": Quota(),
    "save_spam_rules": SpamRules(),
    "import_alias": Import({"action": "import_alias"}, "walk%d: bob\n", ALIAS),
    "import_bcc": Import({"action": "import_bcc", "type": 0}, "walk%d@far.test carol\n", COPY),
    "import_access": Import({"action": "import_access", "type": 0}, "walk%d@far.test REJECT\n",
                            ACCESS),
    "import_spam_blackwhite": Import({"action": "import_spam_blackwhite", "blackWhite": 1},
                                     "walk%d@far.test\n", BlackWhite()),
    "import_spam_rule": Import({"action": "import_spam_rule", "rule_name": "walk.cf"},
                               "body WALK%d_ /walk/\n", RuleFile()),
    "save_personal": Personal(),
    "save_report": Report(),
    "generate_dkim_key": DkimKey(),
    "restore": Restore(),
    "apply": Document(),
    "apply_unconfirmed": Unconfirmed(),
    "take_back": TakenBack(),
    "rollback": RollBack(),
    "tls": Certificate(),
    "tls_install": CertificateCall(),
    "user_add": UserAdd(),
    "user_remove": UserRemove(),
    "own_password": OwnPassword(),
    "recover": Recovery(),
    "collector": Collector(),
}
