"""Who may become a member of an alias: local accounts, and those of a directory."""
import os
import smtplib

from directory import Directory, group, user
from harness import DOMAIN, Story, delivered, read, run, send
from pages import Pages

DIRECTORY = Directory(user("lena", 5001), user("otto", 5002, expires=1), group("crowd", 6000, "otto"),
                      group("circle", 6001, "lena"), group("empty", 6002))


def setUpModule():
    DIRECTORY.start()
    for name in ("lena", "otto"):
        os.makedirs("/home/" + name)
        run("chown", name + ":crowd", "/home/" + name)
    with open("/etc/haldinfo.conf", "a", encoding="ascii") as file:
        file.write('ldap_enabled="yes"\nldap_suffix="%s"\n' % DOMAIN)


tearDownModule = DIRECTORY.stop


def listed(kind, **more):
    """Candidates with their status, members marked; then the total."""
    parameters = {"rolefilter": kind, "limit": 50, **more}
    answer = read("alias_mem_enum" + "".join("&%s=%s" % pair for pair in parameters.items())).json()
    return [("+" if item["is_join"] else "") + "%s %s" % (item["name"], item.get("status", ""))
            for item in answer["items"]] + [answer["total"]]


class Candidates(Pages):
    def setUp(self):
        Story.setUp(self)  # no other page is touched

    def make(self, name, *members):
        self.change("apply_alias_info", aliasname=name, orgalias="", member=[
            {"name": member, "type": kind, "is_join": True} for member, kind in members])
        self.addCleanup(self.change, "alias_del", alias=[name])

    def use_directory(self):
        self.assert_saved(account_type="ldap", acc_domain_name=DOMAIN)
        self.addCleanup(self.restore)

    def test_accounts_of_the_directory(self):
        self.use_directory()
        self.assertEqual(listed("user"), ["lena 1", "otto 2", 2])
        self.assertEqual(listed("localgrp"), ["crowd 4", "circle 1", "empty 1", 3])
        self.make("team", ("lena", 0), ("circle", 1), ("empty", 1))
        send("x@elsewhere.test", ["team@" + DOMAIN], "to the directory")
        text = delivered("lena@" + DOMAIN, "to the directory")
        self.assertIn("Delivered-To: lena@" + DOMAIN, text)

        # A login with the suffix owns the addresses of the account.
        self.assert_saved(restrict_sender=True)
        login = "lena@" + DOMAIN
        for sender in ("team@" + DOMAIN, login):
            send(sender, [login], "from " + sender, port=587, login=login)
            delivered(login, "from " + sender)
        with self.assertRaises(smtplib.SMTPException):
            send("otto@" + DOMAIN, [login], "from otto", port=587, login=login)

