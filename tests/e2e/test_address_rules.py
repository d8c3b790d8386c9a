"""Access lists, blind copies, sender quotas, refused attachments: what they do to real mail."""
import json
import smtplib

import file_modes
import harness
import nameserver
from harness import DOMAIN, SystemLog, command, control, delivered, mails, post, read, send
from machine import QUEUE, say_recipient
from pages import Pages

ALICE, BOB, CAROL = (user + "@" + DOMAIN for user in ("alice", "bob", "carol"))
SENDER, RECIPIENT, CLIENT = range(3)
ADDRESS, NAME, TREE, IP, NETWORK = range(5)
STRANGER = "203.0.113.1"
HOSTILE = ("a b", "x\ny", '"; drop', "caf\u00e9\u0001", "a" * 300, "", "x@y z", "#x",
           "a@b,c@d", "$(id)@x.test", "<b>@x.test")

DNS = nameserver.NameServer("host-record=box.lan.test,203.0.113.20",
                            "address=/1.113.0.203.ip.bl.test/127.0.0.2")


def setUpModule():
    nameserver.local_network("203.0.113.0/24")
    DNS.start()


def ask(action, **members):
    """Answer to an action."""
    return post(json.dumps({"action": action, **members}).encode()).json()


def say(recipient=BOB, **client):
    """What the mail server answers to a recipient."""
    return say_recipient(recipient, **client)


class Access(Pages):
    def setUp(self):
        super().setUp()
        self.addCleanup(self.clear)

    def clear(self):
        items = read("load_access&limit=1000").json()["items"]
        self.change("delete_access", deleteList=[
            {"type": item["type"], "nameType": item["name_type"], "name": item["name"]}
            for item in items])
        command("apply_access_setting")

    def add(self, permission, name, list_type, kind):
        self.change("add_access", permission=permission, name=name, accessType=list_type,
                    nameType=kind)

    def test_every_kind_of_name_is_answered_after_the_apply_and_the_nearest_counts(self):
        self.add("REJECT", "Bad@Tree.TEST", SENDER, ADDRESS)
        self.add("OK", "tree.test", SENDER, NAME)
        self.add("REJECT", ".tree.test", SENDER, TREE)
        self.add("OK", "good.tree.test", SENDER, TREE)
        self.add("REJECT", "caf\u00e9@tree.test", SENDER, ADDRESS)
        self.add("REJECT", CAROL, RECIPIENT, ADDRESS)
        self.add("REJECT", "box.lan.test", CLIENT, NAME)
        self.add("OK", "lan.test", CLIENT, TREE)
        self.add("REJECT", "203.0.113.30", CLIENT, IP)
        self.add("REJECT", "203.0.113.41/29", CLIENT, NETWORK)
        self.add("OK", "203.0.113.42/32", CLIENT, NETWORK)
        self.add("OK", "203.0.113.43", CLIENT, IP)
        rows = (({"sender": "bad@tree.test"}, "554"), ({"sender": "bad+x@tree.test"}, "554"),
                ({"sender": "other@tree.test"}, "250"), ({"sender": "x@a.tree.test"}, "554"),
                ({"sender": "x@b.good.tree.test"}, "250"), ({"sender": "x@atree.test"}, "250"),
                ({"sender": "caf\u00e9@tree.test"}, "554"), ({"recipient": CAROL}, "554"),
                ({"source": "203.0.113.20"}, "554"), ({"source": "203.0.113.30"}, "554"),
                ({"source": "203.0.113.31"}, "250"), ({"source": "203.0.113.40"}, "554"),
                ({"source": "203.0.113.42"}, "250"), ({"source": "203.0.113.43"}, "250"))
        for arguments, _ in rows:
            self.assertEqual(say(**arguments)[:3], "250", arguments)
        command("apply_access_setting")
        for arguments, want in rows:
            self.assertEqual(say(**arguments)[:3], want, arguments)
        self.clear()
        for arguments, _ in rows:
            self.assertEqual(say(**arguments)[:3], "250", arguments)

    def test_what_is_let_in_neither_relays_nor_needs_no_login(self):
        self.add("OK", STRANGER, CLIENT, IP)
        self.add("OK", "elsewhere.test", SENDER, TREE)
        self.add("OK", "else.test", RECIPIENT, TREE)
        command("apply_access_setting")
        self.assertIn("Relay access denied", say(recipient="x@else.test"))
        self.assertIn("Relay access denied", say(recipient="x@else.test", sender=ALICE))
        with smtplib.SMTP("127.0.0.1", 587, timeout=harness.PATIENCE) as client:
            client.starttls(context=harness.unverified())
            client.mail(ALICE)
            self.assertEqual(client.rcpt(BOB)[0], 554)

    def test_what_frees_from_blocklists(self):
        entry = {"server": "ip.bl.test", "type": "rbl_client"}
        self.change("add_dnsb", **entry)
        self.addCleanup(self.change, "del_dnsb", dnsbList=[entry])
        self.change("save_relay", spam_dnsbl_enable=True)
        self.add("OK", "elsewhere.test", SENDER, NAME)
        self.add("OK", CAROL, RECIPIENT, ADDRESS)
        command("apply_access_setting")
        self.assertEqual(say()[:3], "554", "anybody can write this sender")
        self.assertEqual(say(recipient=CAROL)[:3], "250")
        self.add("OK", "203.0.113.0/30", CLIENT, NETWORK)
        command("apply_access_setting")
        self.assertEqual(say()[:3], "250")

    def test_discarded_mail_is_lost_for_those_it_concerns_alone(self):
        self.change("apply_alias_info", aliasname="team", orgalias="",
                    member=[{"name": "bob", "type": 0, "is_join": True}])
        self.addCleanup(self.change, "alias_del", alias=["team"])
        self.add("DISCARD", "team@" + DOMAIN, RECIPIENT, ADDRESS)
        self.add("DISCARD", CAROL, RECIPIENT, ADDRESS)
        self.add("DISCARD", "spam.test", SENDER, NAME)
        self.add("DISCARD", "else.test", RECIPIENT, NAME)
        command("apply_access_setting")
        send("x@elsewhere.test", [CAROL, BOB], "to two")
        send("x@spam.test", [BOB], "spam")
        send("x@elsewhere.test", ["team@" + DOMAIN], "to the alias")
        send(ALICE, [BOB, "x@else.test"], "out", port=587, login="alice")
        for subject in ("to two", "out"):
            delivered("bob", subject)
        self.assertEqual(mails("bob", "spam") + mails("bob", "to the alias") +
                         mails("carol", "to two"), [])
        self.assertEqual(harness.run(*QUEUE, "-j").strip(), "")


class BlindCopies(Pages):
    def copy(self, bcc_type, name, target):
        self.change("add_bcc", bccType=bcc_type, name=name, bccTo=target)
        self.addCleanup(self.change, "delete_bcc",
                        deleteList=[{"type": bcc_type, "name": name, "bccTo": target}])

    def test_copies_are_sent_as_soon_as_a_rule_is_made_and_once(self):
        self.copy(SENDER, "X@elsewhere.test", CAROL)
        self.copy(RECIPIENT, "bob", "carol")  # names of this server, and a loop
        self.copy(RECIPIENT, CAROL, BOB)
        self.copy(SENDER, "@outside.test", "alice")
        send("x@elsewhere.test", [BOB], "one copy")
        send("y@outside.test", [BOB], "two copies")
        for user, subject in (("bob", "one copy"), ("carol", "one copy"), ("alice", "two copies")):
            delivered(user, subject)
        self.assertEqual([len(mails(user, "one copy")) for user in ("alice", "bob", "carol")],
                         [0, 1, 1])
        self.change("edit_bcc", orgBccType=SENDER, orgName="x@elsewhere.test", bccType=SENDER,
                    name="x@elsewhere.test", bccTo="alice")
        send("x@elsewhere.test", [CAROL], "to the new target")
        delivered("alice", "to the new target")
        self.assertEqual(read("export_bcc&bccType=1").body,
                         ("bob carol\n%s %s\n" % (CAROL, BOB)).encode())


class Quota(Pages):
    def setUp(self):
        super().setUp()
        self.addCleanup(self.change, "save_relay", reject_sasl_sender_rate_exceed=False)
        self.change("save_relay", reject_sasl_sender_rate_exceed=True,
                    smtpd_sasl_sender_rate_limit=3)
        self.assertEqual(control("memcached", "restart"), 0)

    def limit(self, sender, quota):
        self.change("set_sender_quota", sasl_sender=sender, quota=quota)
        self.addCleanup(self.change, "delete_sender_quota", delete_list=[sender])

    def sent(self, login):
        """How many messages a login gets through, up to four, and the answer to the last."""
        for count in range(4):
            try:
                send(login + "@" + DOMAIN, [BOB, CAROL], "limited", port=587, login=login)
            except smtplib.SMTPDataError as refusal:
                return count, "%d %s" % (refusal.smtp_code, refusal.smtp_error.decode())
        return 4, ""

    def test_what_is_over_the_limit_is_refused_for_now(self):
        self.limit("alice", 2)
        count, answer = self.sent("alice")
        self.assertEqual(count, 2)
        self.assertRegex(answer, r"450 4\.7\.1 .*limit of 2 messages per hour, "
                                 r"try again in 3[56]\d\d seconds")
        self.assertEqual(self.sent("bob")[0], 3, "the general limit")
        self.change("save_relay", smtpd_sasl_sender_rate_limit=4)
        self.assertEqual(self.sent("bob")[0], 1, "what was refused does not count")
        send("x@elsewhere.test", [BOB], "from outside")

    def test_without_its_counters_mail_passes_with_a_line_in_the_log(self):
        self.limit("carol", 0)
        self.assertEqual(control("memcached", "stop"), 0)
        log = SystemLog()
        self.assertEqual(self.sent("carol")[0], 4)
        self.assertTrue(any("memcached does not answer, the mail of carol" in line
                            for line in log.lines()), log.lines())
        self.assertEqual(control("memcached", "start"), 0)
        self.assertEqual(self.sent("carol")[0], 0)


class Attachments(Pages):
    REFUSED = ('filename=run.exe', 'filename="Run.EXE"', 'name="a b.exe "', "filename=\"x.exe.\"",
               'name=\r\n "folded.exe"', "filename*=utf-8''r%75n%2Eex%65",
               'filename*0="run.e"; filename*1="xe"', "filename*0*=utf-8''ru; filename*1*=n.exe",
               'filename="=?utf-8?Q?run=2Eexe?="', 'filename="=?utf-8?Q?run.e?= =?utf-8?Q?xe?="',
               'filename="=?utf-8?B?cnVuLmV4ZQ==?="', 'filename="=?utf-8?B?cnVubi5FWGU=?="',
               'filename="=?utf-8?B?cnVubm4uZXhl?="', 'filename="r\\un.e\\xe"',
               'x=1; filename="a;b.exe"', "filename=x.tar.7z", "filename=run.exe (a program)",
               'name="=?utf-8?B?eC50YXIuN3o=?="',
               # in parts of another order, in pieces of characters, with what is not seen behind it
               'filename*1="xe"; filename*0="run.e"', "filename*=utf-8''run%2eexe%20%2e%C2%A0",
               'filename="=?utf-8?Q?run=2Eexe=20_?="', 'filename="=?utf-8?B?cnVuLmV4ZSA=?="',
               'filename="=?utf-8?B?LmV4Z?= =?utf-8?B?Q==?="', 'filename="run.=?utf-8?B?ZXhl?="',
               'filename="=?utf-16?B?AHIAdQBuAC4AZQB4AGU=?="', "filename*=utf-16''%00.%00e%00x%00e",
               'filename="=?utf-7?Q?run+AC4AZQB4AGU-?="', 'filename*0=run.exe; filename*2=.pdf',
               'filename="run".exe', 'filename(x)=run.exe', 'filename="run.e\r\n\txe"')
    TAKEN = ('filename="run.exe.pdf"', "filename=exe", 'filename="myexe"', 'filename="a.7z"',
             'filename=ok.pdf; x="run.exe"', 'filename="=?utf-8?B?cnVuLnBkZg==?="',
             'filename="run exe"', 'filename*0="run.exe"; filename*1=".pdf"', "filename*=utf-8''run%2Eexecutable",
             'filename="=?utf-8?B?%s?=";\r\n filename*=utf-8\'\'%s' % ("4oKs" * 85,
                                                                     "%E2%82%AC" * 85))

    def attach(self, parameter, header="Content-Disposition: attachment"):
        """What the mail server answers to a mail with such an attachment."""
        text = ("From: x@elsewhere.test\r\nSubject: attached\r\nMIME-Version: 1.0\r\n"
                "Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\n\r\ntext\r\n--b\r\n"
                "%s; %s\r\n\r\nx\r\n--b--\r\n" % (header, parameter))
        with smtplib.SMTP("127.0.0.1", 25, "c.test", harness.PATIENCE) as client:
            client.ehlo()
            client.mail("x@elsewhere.test")
            client.rcpt(BOB)
            code, answer = client.data(text.encode())
            return "%d %s" % (code, answer.decode())

    def test_listed_types_are_refused_however_the_name_is_written(self):
        self.assertEqual(self.attach(self.REFUSED[0])[:3], "250")
        self.change("set_attachment_filter", modified_list=[], add_list=["tar.7z", ".EXE"])
        self.addCleanup(self.change, "set_attachment_filter", add_list=[],
                        modified_list=["exe", "tar.7z"])
        self.assertEqual(read("load_attachment_filter&query=.EX").json()["file_types"],
                         [{"file_type": "exe"}])
        for parameter in self.REFUSED:
            answer = self.attach(parameter)
            self.assertIn("550 5.7.1 attachments of type .", answer, parameter)
        self.assertEqual(self.attach("name=run.exe", "Content-Type: application/x")[:3], "550")
        self.assertIn("too long", self.attach("x=1;\r\n " * 400))
        self.assertIn("two parts", self.attach("filename*0=run; filename*1=.e; filename*1=xe"))
        for parameter in self.TAKEN:
            self.assertEqual(self.attach(parameter)[:3], "250", parameter)
        self.assert_refused("set_attachment_filter", add_list=["zip", "a/ OK"])
        for name in HOSTILE:
            self.assert_system_error(ask("set_attachment_filter", add_list=[name]))
        self.change("set_attachment_filter", modified_list=["exe"])
        self.assertEqual(self.attach(self.REFUSED[0])[:3], "250")


tearDownModule = file_modes.check
