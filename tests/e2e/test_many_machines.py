"""Three machines for one mail domain: what docs/many_machines.md says is done, and then tried."""
import concurrent.futures
import email.message
import smtplib
import socket
import unittest

import directory
import harness
import many_machines
from harness import wait_for
from many_machines import FOLDER, MACHINES, Machine

BARE_WORLD = True
DOMAIN = "example.org"
OUTSIDE = "10.1.0.254"  # whose address nothing of the three knows
LENA, TOM = "lena@" + DOMAIN, "tom@" + DOMAIN

BLOCKS = many_machines.blocks()
ALL = [Machine(name) for name in MACHINES]
BOX, SPARE, HUB = ALL


def told(what):
    """What the document has under a name: who it is for, and the text."""
    return [(whom, text) for (whom, name), text in BLOCKS.items() if name == what]


def follow(what):
    """Does on each machine what the document says under a name: a file, or commands."""
    parts = told(what)
    assert parts, "the document has no " + what
    for whom, text in parts:
        for machine in ALL:
            if machine.name not in whom and whom != "each machine":
                continue
            if what.startswith("/"):
                machine.write(what, text)
            else:
                machine.run(text)


def at_once(function):
    """Calls it for all machines at once."""
    with concurrent.futures.ThreadPoolExecutor() as pool:
        list(pool.map(function, ALL))


def write_documents(machine):
    for name in ["shared", *MACHINES]:
        machine.write("%s/%s.yaml" % (FOLDER, name), BLOCKS["", name + ".yaml"])


def setUpModule():
    harness.run("ip", "link", "add", "mail", "up", "type", "bridge")
    harness.run("ip", "addr", "add", OUTSIDE + "/24", "dev", "mail")
    at_once(Machine.start)
    follow("/etc/many_machines.nft")
    follow("now and at the boot")
    serve_directory()
    follow("/etc/nslcd.conf")
    follow("accounts")
    BOX.run("for name in lena tom; do install -d -m 700 -o $name -g 6000 /home/$name; done")
    at_once(write_documents)
    (_, commands), = told("settings")
    at_once(lambda machine: machine.run(commands))
    follow("counters")
    follow("/etc/rsyslog.d/mailvane.conf")
    follow("the mail log")
    follow("/var/packages/Mailvane/etc/local.d/main.cf")
    follow("mail for the mailboxes")


def serve_directory():
    def of_example(text):
        return text.replace(directory.BASE, "dc=example,dc=org").replace("dc: mv\n", "dc: example\n")

    people = directory.Directory(directory.user("lena", 5001), directory.user("tom", 5002))
    HUB.write("/root/directory.ldif", of_example(people.text))
    HUB.write("/etc/ldap/test.conf", of_example(directory.CONFIGURATION))
    HUB.run("mkdir /var/lib/ldap-test; slapadd -q -f /etc/ldap/test.conf -l /root/directory.ldif; "
            "slapd -f /etc/ldap/test.conf -h ldap://10.1.0.3/")


def send(machine, sender, recipient, subject, login=None):
    """Code and words by which a machine answers a message."""
    message = email.message.EmailMessage()
    message["From"], message["To"], message["Subject"] = sender, recipient, subject
    message.set_content("A message.\n")

    def hand_over():
        with smtplib.SMTP(machine.address, 587 if login else 25, "client.test",
                          harness.PATIENCE) as client:
            if login:
                client.starttls(context=harness.unverified())
                client.login(login, "pw-" + login)
            client.send_message(message, sender, [recipient])
    return harness.smtp_answer(hand_over, recipient)


def delivered(name, subject):
    wait_for(lambda: BOX.run("grep -srl '^Subject: %s$' /home/%s/Maildir" % (subject, name), check=False),
             subject)


def entries():
    """The mail log of the hub: machine, sender and status of each entry."""
    rows = HUB.run("sqlite3 %s/etc/maillog.live/maillog.db \"SELECT rtrim(substr(queue_id, 1, "
                   "instr(queue_id, '/')), '/'), mail_from, status FROM entry ORDER BY id\""
                   % harness.TARGET)
    return [tuple(row.split("|")) for row in rows.splitlines()]


class ManyMachines(unittest.TestCase):
    def assert_taken(self, answer):
        self.assertEqual(answer[0], 250, answer)

    def test_a_document_and_its_overlays(self):
        for machine in ALL:
            self.assertIn("nothing differs", machine.run(told("settings")[0][1]))
            with socket.create_connection((machine.address, 25), harness.PATIENCE) as server:
                banner = server.makefile().readline()
            self.assertTrue(banner.startswith("220 %s.example.org " % machine.name), banner)

    def test_limits_count_on_all_machines(self):
        for number, machine in enumerate((SPARE, HUB, SPARE)):
            self.assert_taken(send(machine, TOM, LENA, "counted %d" % number, "tom"))
            delivered("lena", "counted %d" % number)
        for machine in (SPARE, HUB):
            code, words = send(machine, TOM, LENA, "too many", "tom")
            self.assertEqual(code, 450, words)
        self.assertRegex(SPARE.run("mailvanectl check", check=False), r"(?m)^OK +memcached")
        HUB.run("kill $(cat /run/memcached/memcached.pid)")
        self.addCleanup(follow, "counters")
        self.assertRegex(SPARE.run("mailvanectl check", check=False),
                         r"(?m)^WARNING +memcached .*10\.1\.0\.3:11211 does not answer")
        answers = [send(SPARE, TOM, LENA, "counted here", "tom")[0] for _ in range(4)]
        self.assertEqual(answers, [250, 250, 250, 450])
        self.assertIn("the shared memcached does not answer, tom is counted here",
                      SPARE.run("cat /var/log/syslog"))

    def test_counters_have_an_address_or_nothing_changes(self):
        default = "/etc/default/mailvane"
        before = SPARE.run("readlink /var/packages/Mailvane/etc/generated/current")
        SPARE.run("cp {0} {0}.kept; sed -i 's/10.1.0.3:11211/hub:11211/' {0}".format(default))
        self.addCleanup(SPARE.run, "mv {0}.kept {0}".format(default))
        self.assertNotIn("taken", SPARE.run("if hald_set_config apply; then echo taken; fi"))
        wait_for(lambda: "MAILVANE_SENDER_COUNTERS" in SPARE.run("cat /var/log/syslog"),
                 "the reason in the log")
        self.assertEqual(
            SPARE.run("readlink /var/packages/Mailvane/etc/generated/current"), before)

    def test_others_are_kept_away(self):
        for port in (389, 11211, 10514):
            with self.assertRaises(TimeoutError):
                socket.create_connection((HUB.address, port), 1)
            SPARE.run("exec 3<>/dev/tcp/%s/%d" % (HUB.address, port))

    def test_mail_waits_for_the_machine_that_is_away(self):
        harness.run("ip", "link", "set", BOX.name, "down")
        back = ("ip", "link", "set", BOX.name, "up")
        self.addCleanup(harness.run, *back)
        sender = "x@elsewhere.test"
        self.assert_taken(send(SPARE, sender, "info@" + DOMAIN, "while it is away"))
        self.assertEqual(send(SPARE, sender, "nobody@" + DOMAIN, "to nobody")[0], 550)
        wait_for(lambda: ("spare", sender, "3") in entries(), "what the spare one has put off")
        harness.run(*back)
        (_, commands), = told("at once")
        wait_for(lambda: SPARE.run(commands) and "while it is away" in BOX.run(
            "grep -srh ^Subject: /home/lena/Maildir", check=False), "the mail that has waited")
        wait_for(lambda: ("box", sender, "1") in entries(), "the lines of the machine that was away")

    def test_the_mail_log_of_all(self):
        for machine in ALL:
            self.assert_taken(send(machine, "y@elsewhere.test", TOM, "by " + machine.name))
            delivered("tom", "by " + machine.name)
        wanted = {(name, "y@elsewhere.test", status)
                  for name, status in (("", "0"), ("spare", "0"), ("box", "1"))}
        wait_for(lambda: wanted <= set(entries()), "entries of each machine")


