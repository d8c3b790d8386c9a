"""The account source changes, and with it the lists, which belong to the accounts."""
import os

import harness
from directory import Directory, group, user
from harness import (DOMAIN, ETC, PAGE, POSTFIX_CONFIGURATION, TARGET, delivered, load, post, read,
                     run, save, send, settings)
from machine import contents, failing, say_recipient, write

DIRECTORY = Directory(user("otto", 5002), group("crowd", 6000, "otto"))
NAME_SERVICE = "/etc/nsswitch.conf"
PENDING = ETC + "/generated/pending"
SETTINGS_TOOL = TARGET + "/bin/hald_set_config"
OTHER = "second.example.test"
USER, GROUP = 0, 1


def setUpModule():
    DIRECTORY.start()
    run("groupadd", "--gid", "2000", "makers")
    run("gpasswd", "--members", "bob,carol", "makers")


tearDownModule = DIRECTORY.stop


def in_force(alias):
    """Whom mail for an alias reaches."""
    return run("/usr/sbin/postmap", "-q", alias, "cdb:%s/maps/aliases" % POSTFIX_CONFIGURATION,
               check=False).strip()


class Switching(harness.Story):
    def make(self, alias, member, kind):
        self.change("apply_alias_info", aliasname=alias,
                    member=[{"name": member, "type": kind, "is_join": True}])


class Groups(Switching):
    """What a group holds is asked where the accounts come from."""

    def setUp(self):
        super().setUp()
        self.make("team", "makers", GROUP)
        self.addCleanup(self.change, "alias_del", alias=["team"])
        self.addCleanup(self.restore)

    def assert_local(self):
        self.assert_saved(account_type="local")
        self.assertEqual((in_force("team"), in_force("crew")), ("bob, carol", ""))

    def last_generation(self, line):
        """Number of the last one with this line in its settings."""
        folder = ETC + "/generated/"
        return max(int(name[4:]) for name in os.listdir(folder) if name.startswith("gen-")
                   and line in contents(folder + name + "/mailvane.conf"))

    def test_there_and_back(self):
        self.assert_saved(account_type="ldap")
        self.assertEqual(in_force("team"), "")
        self.make("crew", "crowd", GROUP)
        self.assertEqual(in_force("crew"), "otto")
        self.assert_local()

        DIRECTORY.stop_client()
        self.assert_saved(account_type="ldap")
        self.assertEqual(in_force("crew"), "")
        self.assertRegex(say_recipient("crew@" + DOMAIN, source="127.0.0.2"), "^451 ")
        self.assert_local()
        self.assert_saved(account_type="ldap")
        DIRECTORY.start_client()
        harness.wait_for(lambda: not run(SETTINGS_TOOL, "alias", check=False), "the directory")
        self.assertEqual(in_force("crew"), "otto")

    def test_a_source_that_nobody_configured(self):
        self.assert_saved(account_type="ldap")
        named = contents(NAME_SERVICE)
        write(NAME_SERVICE, named.replace(" ldap", ""))
        self.addCleanup(write, NAME_SERVICE, named)
        self.change("add_domain", domain="other.example.test")  # other pages are not concerned
        self.assert_local()
        before = settings()
        self.assert_system_error(save(account_type="ldap"))
        self.assertEqual(settings(), before)
        self.assertEqual(in_force("team"), "bob, carol")
        self.assertFalse(os.path.exists(PENDING))
        state = self.last_generation('account_type="ldap"')
        self.assertIs(harness.ask("rollback", {"number": state})["success"], True)
        self.assertEqual(settings()["account_type"], "ldap")


class Data(Switching):
    """Each combination of account type and domain has data of its own."""

    def fill(self, name):
        """An entry in each of the two databases."""
        self.make(name, "bob", USER)
        self.change("add_access", accessType=0, nameType=0, name=name + "@far.test",
                    permission="REJECT")

    def entries(self):
        return [read(page).json()["items"] for page in ("alias_enum&limit=50", "load_access")]

    def state(self):
        """All that belongs to the combination, as it is stored and in force."""
        return self.entries(), in_force("first"), settings().get("always_bcc", "")

    def setUp(self):
        super().setUp()
        if not self.entries()[0]:
            self.fill("first")
            self.change("add_bcc", bccType=2, bccTo="carol@" + DOMAIN)
        self.first = self.state()

    def test_there_and_back(self):
        self.assert_saved(acc_domain_name=OTHER)
        self.assertEqual(self.state(), ([[], []], "", ""))
        self.fill("second")
        second = self.state()
        send("x@elsewhere.test", ["bob@" + OTHER], "not copied")
        delivered("bob", "not copied")

        self.assert_saved(acc_domain_name=DOMAIN)
        self.assertEqual(self.state(), self.first)
        send("x@elsewhere.test", ["bob@" + DOMAIN], "copied again")
        delivered("carol", "copied again")
        self.assertFalse(harness.mails("carol", "not copied"))
        self.assert_saved(acc_domain_name=OTHER)
        self.assertEqual(self.state(), second)

    def test_a_change_that_fails_and_is_tried_again(self):
        with failing("dovecot"):
            self.assert_system_error(save(acc_domain_name="third.example.test"))
        self.assertEqual(self.state(), self.first)
        self.assert_saved(acc_domain_name="third.example.test")
        self.assert_saved(acc_domain_name=DOMAIN)
        self.assertEqual(self.state(), self.first)

    def test_a_domain_is_the_same_in_capitals(self):
        self.assert_saved(acc_domain_name=DOMAIN.upper())
        self.assertEqual(self.state(), self.first)
        self.assert_saved(acc_domain_name=DOMAIN)
        self.assertEqual(self.state(), self.first)

    def test_a_page_without_the_accounts(self):
        page = load()
        self.change("save_smtp", **{name: page[name] for name in PAGE
                                    if name not in ("account_type", "acc_domain_name")})
        self.assertEqual(self.state(), self.first)

    def test_killed_at_any_step(self):
        steps = [("/bin/mv", 0), (SETTINGS_TOOL, 0), ("/bin/mv", 1), ("mailscanner", 0),
                 ("dovecot", 0), ("postfix", 0)]
        afterwards = [
            lambda: self.change("save_imap_pop3", max_user_connections=21), load,
            lambda: run(SETTINGS_TOOL, "recover")]
        for number, (step, after) in enumerate(steps):
            with self.subTest(step=step, after=after):
                with failing(step, "kill -9 $PPID; exit 1", after):
                    killed = harness.start_save(acc_domain_name=OTHER + str(number))
                    self.assertEqual(killed.wait(), -9)
                afterwards[number % len(afterwards)]()
                is_old = settings()["acc_domain_name"] == DOMAIN
                self.assertEqual(self.state(), self.first if is_old else ([[], []], "", ""))
                self.assert_saved(acc_domain_name=DOMAIN)
                self.assertEqual(self.state(), self.first)
                self.assertFalse(os.path.exists(PENDING))
