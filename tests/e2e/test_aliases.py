"""The pages of the aliases, and where mail to an alias goes."""
import smtplib
import time
import unittest

import harness
from harness import DOMAIN, POSTFIX_CONFIGURATION, delivered, mails, post, read, run, send, tell
from machine import wait_for_an_empty_queue
from pages import Pages
from relay_host import RelayHost

USER, GROUP, ALIAS, OUTSIDE = range(4)


ELSEWHERE = RelayHost(2526)  # takes all mail


def setUpModule():
    unittest.enterModuleContext(ELSEWHERE)
    tell("save_relay", smtp_relay_enabled=True, smtp_relay_port=2526,
         smtp_relay_server="127.0.0.1", smtp_relay_tls=False)
    run("groupadd", "--gid", "2000", "makers")
    run("gpasswd", "--members", "alice,bob,carol", "makers")


def member(name, kind=USER, is_join=True):
    return {"name": name, "type": kind, "is_join": is_join}


class Aliases(Pages):
    def setUp(self):
        harness.Story.setUp(self)  # no other page is touched
        self.addCleanup(self.delete_all)

    def delete_all(self):
        names = [item["alias_name"] for item in self.listed()["items"]]
        if names:
            self.change("alias_del", alias=names)

    def listed(self, parameters="&limit=100"):
        return read("alias_enum" + parameters).json()

    def make(self, name, *members, before=""):
        self.change("apply_alias_info", aliasname=name, orgalias=before, member=list(members))

    def assert_reaches(self, alias, *users):
        """Mail to an alias comes to these users, once each."""
        subject = "%s %f" % (alias, time.time())
        send("x@elsewhere.test", [alias + "@" + DOMAIN], subject)
        for user in users:
            delivered(user, subject)
        wait_for_an_empty_queue()
        counts = {user: len(mails(user, subject)) for user in ("alice", "bob", "carol", "admin")}
        self.assertEqual({user for user, count in counts.items() if count}, set(users))
        self.assertEqual(max(counts.values()), 1)

    def assert_unknown(self, alias):
        with self.assertRaises(smtplib.SMTPRecipientsRefused):
            send("x@elsewhere.test", [alias + "@" + DOMAIN], "to nobody")

    def test_mail_reaches_each_member_once(self):
        self.assert_unknown("inner")
        self.make("inner", member("bob"), member("makers", GROUP))
        self.assert_reaches("inner", "alice", "bob", "carol")
        self.make("outer", member("carol"), member("inner", ALIAS), member("makers", GROUP),
                  member("x@elsewhere.test", OUTSIDE), member("CAROL@" + DOMAIN, OUTSIDE))
        ELSEWHERE.recipients.clear()
        self.assert_reaches("Outer", "alice", "bob", "carol")
        self.assertEqual(ELSEWHERE.recipients, ["x@elsewhere.test"])
        self.assertEqual(read("load_extaddr&aliasname=outer").json(),
                         {"success": True, "ext_addr": "x@elsewhere.test,CAROL@" + DOMAIN})

    def test_what_is_changed_is_in_force_at_once(self):
        self.make("team", member("alice"), member("bob"))
        self.make("team", member("alice", is_join=False), before="team")
        self.assert_reaches("team", "bob")
        self.make("outer", member("team", ALIAS))
        self.make("crew", member("carol"), before="team")
        self.assert_unknown("team")
        self.assert_reaches("outer", "bob", "carol")
        self.change("alias_del", alias=["crew", "none"])
        self.assert_unknown("outer")
        self.assertEqual(self.listed()["items"], [{"alias_name": "outer", "alias_member": ""}])
        answer = post({"action": "apply_alias_info", "aliasname": "outer", "member": []}).json()
        self.assertEqual(answer["errinfo"], {"sec": "error", "key": "alias_conflict"})

    def test_an_alias_of_unknown_users_alone_is_refused(self):
        log = harness.SystemLog()
        self.make("some", member("nobody-here"), member("bob"))
        self.make("none", member("nobody-here"), member("BOB+x"), member("none", ALIAS))
        self.assert_reaches("none", "bob")
        self.make("none", member("BOB+x", is_join=False), before="none")
        self.assert_unknown("none")
        self.assertIn("mail for none is refused", "\n".join(log.lines()))
        self.make("alice", member("nobody-here"))  # her mail must not come to the mailbox
        self.assertEqual(run("postmap", "-c", POSTFIX_CONFIGURATION, "-q", "alice",
                             "cdb:%s/maps/aliases" % POSTFIX_CONFIGURATION).strip(), "nobody-here")

    def test_loops_end(self):
        self.make("one", member("one", ALIAS), member("bob"))
        self.make("two", member("one", ALIAS), member("one@" + DOMAIN, OUTSIDE))
        self.make("one", member("two", ALIAS), member("two@" + DOMAIN, OUTSIDE), before="one")
        self.assert_reaches("one", "bob")
        self.assert_reaches("two", "bob")
        # Each gets the other's mail, and then the other's again.
        self.make("alice", member("bob"))
        self.make("bob", member("alice"), member("carol"))
        self.assert_reaches("alice", "alice", "carol")

    def test_the_roles_reach_an_administrator_until_they_are_aliases(self):
        self.assert_reaches("postmaster", "admin")
        self.make("Postmaster", member("bob"))
        self.assert_reaches("postmaster", "bob")
        self.assert_reaches("abuse", "admin")

    def test_members_may_send_from_their_alias(self):
        self.assert_saved(restrict_sender=True)
        self.make("sales", member("makers", GROUP))
        self.make("sales", member("x@elsewhere.test", OUTSIDE), before="sales")
        send("sales@" + DOMAIN, ["bob@" + DOMAIN], "from the alias", port=587, login="alice")
        delivered("bob", "from the alias")
        send("alice@" + DOMAIN, ["bob@" + DOMAIN], "from herself", port=587, login="alice")
        for sender in ("bob@" + DOMAIN, "none@" + DOMAIN):
            with self.assertRaises(smtplib.SMTPException):
                send(sender, ["bob@" + DOMAIN], "refused", port=587, login="alice")
        run("gpasswd", "--delete", "alice", "makers")
        self.addCleanup(run, "gpasswd", "--add", "alice", "makers")
        run(harness.TARGET + "/bin/hald_set_config", "alias")
        with self.assertRaises(smtplib.SMTPException):
            send("sales@" + DOMAIN, ["bob@" + DOMAIN], "left", port=587, login="alice")

    def test_large_aliases(self):
        with open("/etc/passwd", "a", encoding="ascii") as file:
            file.writelines("u%04d:x:%d:2002::/nonexistent:/bin/false\n" % (i, 10000 + i)
                            for i in range(3000))
        run("groupadd", "--gid", "2002", "everybody")
        self.make("all", member("everybody", GROUP), *(member("w%04d@elsewhere.test" % i, OUTSIDE)
                                                       for i in range(2000)))
        path = "cdb:" + POSTFIX_CONFIGURATION + "/maps/aliases"
        self.assertEqual(len(run("/usr/sbin/postmap", "-q", "all", path).split(", ")), 5000)
        page = read("alias_mem_enum&rolefilter=localgrp&limit=50&query=EVERY").json()
        self.assertEqual(page["items"], [{"name": "everybody", "is_join": False, "status": 1}])
