"""The lists of the console in a browser, on the real server: what each change leaves in the files that
the daemons read."""
import os
import tempfile
from pathlib import Path

from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import Select

from console import Console, drives
from harness import ETC, read, tell, wait_for

IN_FORCE = ETC + "/generated/current/"
SENDERS, DOMAINS = "postfix/maps/sender_access", "domains"
BOBS_RULES = "/home/bob/.mailvane.sieve"


def content(name):
    try:
        return Path(IN_FORCE + name if not name.startswith("/") else name).read_text(encoding="utf-8")
    except FileNotFoundError:
        return ""


class Lists(Console):
    def add(self, route, **fields):
        self.browser.go(route)
        self.browser.button("Add", ".page-head").click()
        self.submit("Add", **fields)

    def change(self, route, row, **fields):
        self.browser.go(route)
        self.browser.wait("[aria-label='Change %s']" % row).click()
        self.submit("Save", **fields)

    def delete(self, route, *names):
        self.browser.go(route)
        for name in names:
            box = wait_for(lambda name=name: [
                box for box in self.browser.find(".list .choose") if name in (
                    box.get_attribute("aria-label") or box.find_element("xpath", "..").text)], name)[0]
            box.click()
        count = "%d entr%s" % (len(names), "y" if len(names) == 1 else "ies")
        self.browser.button("Delete " + count, ".list-head").click()
        self.browser.button("Delete " + count, "dialog").click()

    def wait_in(self, name, text, is_there=True):
        """Waits until a file has a text, or no longer has it, and the page has noticed."""
        wait_for(lambda: (text in content(name)) == is_there, "%s: %s" % (name, text))
        self.at_rest()

    def at_rest(self):
        self.no_dialog()
        self.browser.settled()

    def import_file(self, route, text, name="list.txt"):
        """Chooses a file; returns what the page says of it."""
        folder = self.enterContext(tempfile.TemporaryDirectory())
        path = Path(folder, name)
        path.write_bytes(text if isinstance(text, bytes) else text.encode())
        self.browser.go(route)
        self.browser.button("Import", ".page-head").click()
        self.browser.wait("dialog input[type=file]").send_keys(str(path))
        return self.browser.wait("dialog [role=status] p").text

    def export(self, route, button, name):
        """The file that the browser saves."""
        self.browser.go(route)
        self.browser.button("Export", ".page-head").click()
        self.browser.button(button, "dialog").click()
        return self.saved(name)


class Entries(Lists):
    """Each list: added, changed, deleted."""

    @drives("enum_domain", "add_domain", "edit_domain", "delete_domain")
    def test_mail_domains(self):
        self.add("domains", domain="no dot")
        self.browser.wait("dialog .error", "It does not have the form that is needed.")
        self.submit("Add", domain="one.example")
        self.wait_in(DOMAINS, "one.example")
        self.change("domains", "one.example", domain="two.example")
        self.wait_in(DOMAINS, "two.example")
        self.assertNotIn("one.example", content(DOMAINS))
        self.add("domains", domain="three.example")
        self.wait_in(DOMAINS, "three.example")
        self.delete("domains", "two.example", "three.example")
        self.wait_in(DOMAINS, ".example", False)
        self.browser.wait(".empty", "There are no further domains.")

    @drives("enum_dnsb", "add_dnsb", "edit_dnsb", "del_dnsb")
    def test_blocklists(self):
        self.add("blocklists", server="zen.example.org", type="Greeting of the client")
        self.wait_in("dnsbl", "zen.example.org rhsbl_helo")
        self.change("blocklists", "zen.example.org", type="Address of the client")
        self.wait_in("dnsbl", "zen.example.org rbl_client")
        self.delete("blocklists", "zen.example.org")
        self.wait_in("dnsbl", "zen.example.org", False)

    @drives("load_access", "add_access", "edit_access", "delete_access", "apply_access_setting")
    def test_access_lists(self):
        browser = self.browser
        self.add("access", name="192.0.2.9", status="Refuse")
        self.assertEqual(Select(browser.wait("dialog [name=name_type]")).first_selected_option.text, "Address")
        browser.wait("dialog .error", "It is no valid name of its kind.")
        self.submit("Add", type="Clients", name="192.0.2.0/24")
        self.wait_in("postfix/maps/client_networks", "192.0.2.0/24")
        self.add("access", name="bad@example.org", status="Refuse")
        self.wait_in(SENDERS, "bad@example.org REJECT")
        self.change("access?tab=0", "bad@example.org", status="Throw away")
        self.wait_in(SENDERS, "bad@example.org DISCARD")
        self.assertIn("Clients (1)", browser.wait(".segments").text)
        self.browser.go("access?tab=0&q=nothing")
        browser.wait(".empty", "No entry matches.")
        self.delete("access?tab=0&q=bad", "bad@example.org")
        self.wait_in(SENDERS, "bad@example.org", False)
        self.delete("access?tab=2", "192.0.2.0/24")
        self.wait_in("postfix/maps/client_networks", "192.0.2.0", False)

    @drives("load_bcc", "add_bcc", "edit_bcc", "delete_bcc")
    def test_blind_copies(self):
        self.add("blind_copies", type="All mail", bcc_to="alice")
        self.wait_in("mailvane.conf", 'always_bcc="alice"')
        self.add("blind_copies", type="Mail of a sender", name="bob@mv.test", bcc_to="carol")
        self.wait_in("postfix/maps/sender_bcc", "bob@mv.test carol")
        self.change("blind_copies", "bob@mv.test", bcc_to="nobody-known")
        self.browser.wait("dialog .problem", "neither an address nor an account")
        self.submit("Save", bcc_to="alice")
        self.wait_in("postfix/maps/sender_bcc", "bob@mv.test alice")
        self.delete("blind_copies", "bob@mv.test", "All mail")
        self.wait_in("postfix/maps/sender_bcc", "bob@mv.test", False)
        self.wait_in("mailvane.conf", 'always_bcc="alice"', False)

    @drives("load_sender_quota", "set_sender_quota", "delete_sender_quota")
    def test_limits_of_logins(self):
        self.add("sender_quota", sasl_sender="nobody-known", quota="5")
        self.browser.wait("dialog .problem", "There is no such account.")
        self.browser.wait("dialog .error", "There is no such thing.")
        self.submit("Add", sasl_sender="bob")
        self.wait_in("policy/limits", "5 bob")
        self.change("sender_quota", "bob", quota="7")
        self.wait_in("policy/limits", "7 bob")
        self.delete("sender_quota", "bob")
        self.wait_in("policy/limits", "bob", False)

    @drives("load_attachment_filter", "set_attachment_filter")
    def test_many_attachments_at_once(self):
        self.add("attachments", file_type="exe *.scr\ntar.gz, js")
        self.wait_in(ETC + "/attachment_types", "tar.gz")
        self.assertEqual(sorted(content(ETC + "/attachment_types").split()), ["exe", "js", "scr", "tar.gz"])
        self.delete("attachments?q=s", "js", "scr")
        self.wait_in(ETC + "/attachment_types", "scr", False)
        self.delete("attachments", "exe", "tar.gz")
        self.wait_in(ETC + "/attachment_types", "exe", False)

    @drives("load_spam_blackwhite", "add_spam_blackwhite_list", "delete_spam_blackwhite_list", "apply_spam_blackwhite")
    def test_an_edit_that_loses_the_old_entry_offers_it_again(self):
        self.add("black_white?tab=1", type="Senders", name="bad@example.org")
        self.wait_in("postfix/maps/black_senders", "bad@example.org")
        self.add("black_white?tab=0", type="Senders", name="good@example.org")
        wait_for(lambda: read("load_spam_blackwhite").json()["total"] == 2, "both entries")
        self.change("black_white?tab=0", "good@example.org", name="bad@example.org")
        self.browser.wait("dialog .problem", "The old entry is no longer in the list.")
        self.assertEqual(read("load_spam_blackwhite").json()["total"], 1)
        self.browser.button("Put the old entry back", "dialog").click()
        self.browser.wait(".notice", "The old entry is back.")
        self.assertEqual(sorted(row["name"] for row in read("load_spam_blackwhite").json()["items"]),
                         ["bad@example.org", "good@example.org"])
        self.delete("black_white?tab=1", "bad@example.org")
        self.wait_in("postfix/maps/black_senders", "bad@example.org", False)
        self.delete("black_white?tab=0", "good@example.org")
        wait_for(lambda: not read("load_spam_blackwhite").json()["total"], "an empty list")

    @drives("load_reply_list", "set_reply_setting", "delete_reply_setting")
    def test_replies_to_single_senders(self):
        def stored():
            return [(one["sender"], one["message"]) for one in read("load_reply_list").json()["replies"]]
        self.add("replies", sender="eve@example.org", subject="Away", message="Ask alice.")
        wait_for(lambda: stored() == [("eve@example.org", "Ask alice.")], "the reply")
        self.at_rest()
        self.change("replies", "eve@example.org", message="Ask bob.")
        wait_for(lambda: stored() == [("eve@example.org", "Ask bob.")], "the other reply")
        self.at_rest()
        self.delete("replies", "eve@example.org")
        wait_for(lambda: not stored(), "no reply")

    def test_by_keys_alone_and_accessible(self):
        browser = self.browser
        browser.go("domains")
        browser.button("Add", ".page-head").send_keys(Keys.ENTER)
        browser.wait("dialog [name=domain]")
        self.assertEqual(browser.faults(), [])
        browser.press("keys.example", Keys.ENTER)
        self.wait_in(DOMAINS, "keys.example")
        browser.wait(".list .choose").send_keys(Keys.SPACE)
        browser.button("Delete 1 entry", ".list-head").send_keys(Keys.ENTER)
        browser.wait("dialog")
        self.assertEqual(browser.faults(), [])
        browser.press(Keys.ENTER)
        self.wait_in(DOMAINS, "keys.example", False)
        wait_for(lambda: browser.driver.switch_to.active_element.tag_name == "h1", "the focus on the heading")


class Files(Lists):
    """Lists that come from files and go into them."""

    @drives("import_access", "upload", "export_access")
    def test_bad_lines_are_told_before_the_file_is_sent(self):
        said = self.import_file("access", "# old\none@example.org OK\ntwo@example.org MAYBE\n192.0.2.1 OK\n")
        self.assertEqual(said, "1 good line, 2 bad lines")
        self.browser.wait("dialog [role=status] p", "New: 1. There already: 0.")
        told = self.browser.wait("dialog .bad-lines").text
        self.assertIn("Line 3 two@example.org MAYBE", told)
        self.assertIn("Line 4 192.0.2.1 OK", told)
        self.assertEqual(self.browser.faults(), [])
        self.browser.button("Import the good lines", "dialog").click()
        self.wait_in(SENDERS, "one@example.org OK")
        self.assertEqual(self.export("access", "Save the file", "access.txt"), "one@example.org OK\n")
        self.delete("access", "one@example.org")
        self.wait_in(SENDERS, "one@example.org", False)

    def test_what_is_no_text_is_not_sent(self):
        said = self.import_file("aliases", b"sales: b\xf6b\n")
        self.assertIn("no text in UTF-8", said)

    def test_lines_that_only_the_server_refuses_are_told_by_it(self):
        self.add("black_white?tab=1", type="Senders", name="twice@example.org")
        self.wait_in("postfix/maps/black_senders", "twice@example.org")
        self.assertEqual(self.import_file("black_white?tab=0", "sender x@example.org\nsender twice@example.org\n"),
                         "2 good lines")
        self.browser.button("Import", "dialog").click()
        self.browser.wait("dialog .problem", "It is there already.")
        self.browser.button("Cancel", "dialog").click()
        self.assertEqual(read("load_spam_blackwhite").json()["total"], 1)
        self.delete("black_white?tab=1", "twice@example.org")
        self.wait_in("postfix/maps/black_senders", "twice@example.org", False)

    @drives("import_spam_blackwhite", "export_spam_blackwhite", "edit_spam_blackwhite_list", "import_bcc", "export_bcc")
    def test_black_and_white_lists_and_copies(self):
        self.import_file("black_white?tab=1", "sender bad@example.org\nclient 192.0.2.0/24\n")
        self.browser.button("Import", "dialog").click()
        self.wait_in("postfix/maps/black_senders", "bad@example.org")
        self.assertEqual(self.export("black_white?tab=1", "Save the file", "black_white.txt"),
                         "sender bad@example.org\nclient 192.0.2.0/24\n")
        self.change("black_white?tab=1", "bad@example.org", name="worse@example.org")
        self.wait_in("postfix/maps/black_senders", "worse@example.org")
        self.delete("black_white?tab=1", "worse@example.org", "192.0.2.0/24")
        self.wait_in("postfix/maps/black_senders", "worse@example.org", False)
        self.import_file("blind_copies", "bob@mv.test alice\n")
        Select(self.browser.wait("dialog select")).select_by_visible_text("Mail to a recipient")
        self.browser.button("Import", "dialog").click()
        self.wait_in("postfix/maps/recipient_bcc", "bob@mv.test alice")
        self.assertEqual(self.export("blind_copies", "Mail to a recipient", "blind_copies.txt"), "bob@mv.test alice\n")
        self.delete("blind_copies", "bob@mv.test")
        self.wait_in("postfix/maps/recipient_bcc", "bob@mv.test", False)

    @drives("load_spam_rules", "import_spam_rule", "save_spam_rules", "export_rule", "delete_rules")
    def test_rule_sets(self):
        rules = "header OURS Subject =~ /ours/\nscore OURS 5\n"
        self.import_file("spam_rules", rules, "ours.cf")
        self.browser.button("Import", "dialog").click()
        self.wait_in("amavis/rules.cf", "header OURS")
        self.browser.wait("[aria-label='Save ours.cf as a file']").click()
        self.assertEqual(self.saved("ours.cf"), rules)
        self.browser.wait("[role=switch]").click()
        self.browser.wait(".notice", "ours.cf is off.")
        self.assertNotIn("OURS", content("amavis/rules.cf"))
        Path(ETC + "/rules/ours.cf").write_text("nonsense\n", encoding="utf-8")
        self.browser.wait("[role=switch]").click()
        self.browser.wait(".notice.bad")
        self.browser.settled()
        self.assertFalse(self.browser.find("[role=switch]")[0].is_selected())
        self.delete("spam_rules", "ours.cf")
        wait_for(lambda: not os.path.exists(ETC + "/rules/ours.cf"), "the end of the file")


class Aliases(Lists):
    @drives("alias_enum", "alias_mem_enum", "load_extaddr", "apply_alias_info", "alias_del")
    def test_are_made_changed_and_deleted(self):
        browser = self.browser
        browser.go("aliases")
        browser.wait(".page-head a.button").click()
        browser.fill("#field-alias_name", "sales")
        browser.fill("#outside", "eve@example.org\nmallory@example.org")
        browser.button("Add the addresses").click()
        browser.fill("[type=search]", "bob")
        browser.wait(".count-line", "1 entry found")
        browser.wait(".chips .chip", "bob").find_element("css selector", "input").click()
        self.assertEqual(browser.faults(), [])
        self.save("eve@example.org")
        wait_for(lambda: "sales bob, eve@example.org, mallory@example.org" in content("postfix/maps/aliases"), "the alias")
        browser.wait("td .member", "mallory@example.org")

        browser.wait("[aria-label='Change sales']").click()
        browser.wait("[aria-label='Remove mallory@example.org']").click()
        tell("apply_alias_info", aliasname="sales", orgalias="sales",
             member=[{"name": "carol", "type": 0, "is_join": True}])
        browser.fill("#field-alias_name", "orders")
        told = self.save("sales becomes orders.", "Save mine")
        self.assertRegex(told, r"(?s)Removed.*mallory@.*somebody else meanwhile; stays.*carol")
        wait_for(lambda: "orders bob, carol, eve@example.org" in content("postfix/maps/aliases"), "the other name")
        browser.wait("h1", "Alias orders")
        browser.settled()
        self.delete("aliases", "orders")
        self.wait_in("postfix/maps/aliases", "orders", False)

    def save(self, told, button="Save"):
        """Saves, after the difference is shown; what is shown."""
        self.browser.button("Save", ".save-bar").click()
        shown = self.browser.wait("dialog", told).text
        self.browser.button(button, "dialog").click()
        return shown

    def test_show_groups_without_their_markup_and_who_has_left(self):
        tell("apply_alias_info", aliasname="info", member=[
            {"name": name, "type": kind, "is_join": True}
            for name, kind in (("no-such-user", 0), ("bob", 0), ("administrators", 1))])
        self.addCleanup(tell, "alias_del", alias=["info"])
        self.browser.go("aliases")
        self.assertRegex(self.browser.wait(".member.group").text, r"^\W+administrators\s+Group$")
        self.browser.go("alias?name=info")
        self.browser.wait(".member.user.gone", "no-such-user")
        self.assertEqual(len(self.browser.find(".member.user.gone")), 1)

    @drives("import_alias", "export_alias")
    def test_of_ten_thousand_come_in_pages(self):
        text = "".join("many%d: bob, someone%d@example.org\n" % (number, number) for number in range(10_000))
        self.assertEqual(self.import_file("aliases", text), "10,000 good lines")
        self.browser.button("Import", "dialog").click()
        self.browser.wait(".notice", "now: 10,000.")
        self.assertEqual(self.export("aliases", "Save the file", "aliases.txt").count("\n"), 10_000)
        self.browser.go("aliases?page=200")
        rows = self.browser.find(".listed tbody tr")
        self.assertEqual((len(rows), rows[-1].text.split()[0]), (50, "many9999"))
        tell("alias_del", alias=["many%d" % number for number in range(10_000)])


class Users(Lists):
    @drives("load_personal", "save_personal")
    def test_forwarding_and_reply(self):
        browser = self.browser
        self.addCleanup(tell, "save_personal", user="bob", forward_enable=False, forward_addr="",
                        keep_copy=False, reply_enable=False, subject="", message="")
        browser.go("users")
        browser.wait("td a", "bob").click()
        browser.wait("#field-forward_enable").click()
        browser.fill("#field-forward_addr", "bob@example.org")
        browser.wait("#field-reply_enable").click()
        browser.fill("#field-subject", "Away")
        browser.fill("#field-message", "Until Monday.")
        browser.button("Save").click()
        browser.wait(".notice", "Saved and in force.")
        for text in ("bob@example.org", "Until Monday."):
            self.assertIn(text, content(BOBS_RULES))
        browser.wait("#field-reply_enable").click()
        browser.button("Save").click()
        wait_for(lambda: not read("load_personal&user=bob").json()["reply_enable"], "the end of the reply")
        browser.settled()
        browser.wait("#field-forward_enable").click()
        browser.button("Save").click()
        browser.wait("dialog", "replaces it with an empty one")
        browser.button("Save", "dialog").click()
        wait_for(lambda: not read("load_personal&user=bob").json()["forward_enable"], "the end of forwarding")
