"""mailvanectl: the actions from the command line."""
import json
import subprocess
import tempfile

import harness
from harness import TARGET, banner, listener, read, settings
from machine import write
from pages import Pages

CTL = TARGET + "/bin/mailvanectl"


def ctl(*words, typed="", command=(CTL,)):
    """Exit status, standard output and standard error."""
    done = subprocess.run([*command, *words], input=typed, text=True, capture_output=True,
                          check=False, timeout=harness.PATIENCE)
    return done.returncode, done.stdout, done.stderr


class Ctl(Pages):
    def done(self, *words, typed=""):
        status, output, errors = ctl(*words, typed=typed)
        self.assertEqual((status, errors), (0, ""), output)
        return output

    def test_it_answers_what_the_web_answers(self):
        wanted = read("load_smtp")
        self.assertEqual(self.done("load_smtp", "--raw").encode(), wanted.body)
        self.assertEqual(json.loads(self.done("load_smtp")), wanted.json())

    def test_a_page_is_edited_by_single_members(self):
        self.done("edit", "smtp", "smtp_hostname=ctl.example.test", "smtp_ssl_enabled=yes")
        self.assertTrue(banner().startswith("220 ctl.example.test "), banner())
        self.assertTrue(harness.answers(465) and harness.answers(587))
        self.done("edit", "imap_pop3", "pop3_enabled=yes")
        self.assertTrue(harness.answers(110) and harness.answers(143))

    def test_what_is_refused_says_why(self):
        with listener(2626):
            status, output, errors = ctl("edit", "smtp", "smtp_port=2626")
        self.assertEqual((status, output), (1, ""))
        self.assertIn("error/error_port_conflict (SMTP)", errors)
        self.assertRegex(errors, r"\n  smtp_port \(in_use\): .*"
                                 r"\n.*none of the package's \(holds_port\)")
        for words, why in (
                (("smtp", "smtp_port=99999"), r"\n  smtp_port \(out_of_range\): .*"
                                              r"\n  refused a value for smtp_port"),
                (("smtp", "smtp_port=8080"), r"web server of the package \(holds_port\)"),
                (("relay", "smtp_relay_enabled=yes", "smtp_relay_server="),
                 r"smtp_relay_server \(empty\)"),
                (("imap_pop3", "imaps_enabled=yes", "imaps_port=25"),
                 r"smtp_port \(given_twice\): .*\n  imaps_port \(given_twice\)")):
            self.assertRegex(ctl("edit", *words)[2], why)
        self.assertEqual(ctl("export_rule", "rule_name=nothing")[0], 3)
        self.assertTrue(harness.answers(25))

    def test_a_refused_import_is_no_success(self):
        folder = self.enterContext(tempfile.TemporaryDirectory())
        write(folder + "/list", "good@far.example OK\nbad@far.example MAYBE\n")
        for words, why in ((["import_access", "type=0"], "no_choice"),
                           (["import_alias"], "no_entry"),
                           (["import_spam_rule", "rule_name=refused.cf"], "no_rule")):
            log = harness.SystemLog()
            status, output, errors = ctl(*words, folder + "/list")
            self.assertEqual((status, output), (1, ""), words)
            self.assertIn("\n  line 2 (%s): " % why, errors)
            self.assertRegex(log.audit()[-1], "action upload: failed .*; because: .*line 2 " + why)
        self.addCleanup(ctl, "delete_rules", "deleteList=refused.cf")
        write(folder + "/list", "good@far.example OK\n")
        self.done("import_access", "type=0", folder + "/list")
        self.done("delete_access", 'deleteList={"type":0,"nameType":0,"name":"good@far.example"}')

    def test_members_that_nobody_knows_are_told(self):
        self.addCleanup(ctl, "alias_del", "alias=one", "alias=two")
        status, _, errors = ctl("apply_alias_info", "aliasname=one", "member=bob",
                                "member=nosuch", "member=@nogroup9", "member=x@far.example")
        self.assertEqual((status, errors.count("\n")), (0, 2), errors)
        self.assertIn("nosuch is not a mail user", errors)
        self.assertIn("there is no group nogroup9", errors)
        self.done("apply_alias_info", "orgalias=one", "aliasname=one", "member=-@nogroup9")
        self.done("apply_alias_info", "aliasname=two", "member=one", "member=alias:one")
        self.assertNotIn("<", self.done("alias_enum", "query=two"))

    def test_in_whose_name(self):
        status, _, errors = ctl("--as", "alice", "load_smtp")
        self.assertEqual(status, 1)
        self.assertIn("load_smtp: forbidden (403):\n  gate of the web (forbidden): ", errors)

    def test_a_password_that_was_not_given_stays(self):
        self.done("save_relay", "smtp_relay_enabled=yes", "smtp_relay_server=relay.test",
                  "smtp_relay_auth=yes", "smtp_relay_account=me", "smtp_relay_password=-",
                  typed="se cret\n")
        self.done("edit", "relay", "smtp_relay_port=2526", "smtp_relay_password=-",
                  typed="se cret\n")
        self.done("edit", "smtp", "smtp_hostname=kept.example.test")
        self.done("save_relay", '{"smtp_relay_account":"you"}')
        stored = settings()
        self.assertEqual([stored["smtp_relay_" + name] for name in ("password", "port", "account")],
                         ["se cret", "2526", "you"])
