"""Takes the pictures of docs/console.md, from a server that has some mail. Not one of the tests:

  tests/e2e/in_world.sh build/dev console_pictures.py

pngquant of Debian makes them small. With MAILVANE_PICTURES=FOLDER, below the top, every page is taken
instead, light and dark, wide and narrow: to be looked at."""
import base64
import os
import pwd
import subprocess
import tempfile
from pathlib import Path

from selenium.webdriver.common.keys import Keys

import harness
from browser import Browser
from harness import ETC, TARGET, ask, control, read, tell, wait_for
from machine import write
from test_console_pages import ROUTES

TOP = Path(__file__).resolve().parents[2]
PYTHON = ("/usr/bin/python3", "-I")
WIDTHS = {"wide": 1180, "narrow": 390}
TALLEST = 2200
COLOURS = "16"
UNREACHABLE = """{
 { slow.example = retry:4.4.1 connect to mx.slow.example[192.0.2.60]:25: Connection timed out }
 { busy.example = retry:4.3.2 host mx.busy.example[198.51.100.61] said: 450 4.3.2 Try again later }}"""
PARAMS = {"user": "?name=bob", "alias": "?name=sales"}


def fill_server():
    """A month in the log, mail that was delivered, waits and is kept, and some entries in each list. Whoever
    else has an account of the machine that the world is made from is not shown."""
    for user in pwd.getpwall():
        if 1000 <= user.pw_uid < 65000 and user.pw_name not in ("admin", "alice", "bob", "carol"):
            harness.run("/usr/sbin/userdel", user.pw_name)
    with open("/var/log/mailvane/maillog", "a", encoding="ascii") as log:
        subprocess.run([*PYTHON, str(TOP / "packaging/lib/demo_history.py")], stdout=log, check=True)
    control("mailscanner", "start")
    maps = harness.postconf("transport_maps")
    write(ETC + "/local.d/main.cf", "transport_maps = inline:%s %s\n" % (UNREACHABLE, maps))
    tell("save_spam_config", spam_enable=True, spam_action="quarantine")
    tell("save_imap_pop3", imap_enabled=True, imap_port=143, imaps_enabled=True, imaps_port=993)
    subprocess.run([*PYTHON, str(TOP / "packaging/lib/demo_mail.py"), "25"], check=True)
    tell("apply_alias_info", aliasname="sales", member=[
        {"name": "alice", "type": 0, "is_join": True}, {"name": "bob", "type": 0, "is_join": True},
        {"name": "agent@partner.example", "type": 3, "is_join": True}])
    tell("apply_alias_info", aliasname="all", member=[
        {"name": "sales", "type": 2, "is_join": True}, {"name": "carol", "type": 0, "is_join": True}])
    tell("add_domain", domain="partner.test")
    tell("add_access", accessType=0, nameType=0, name="winner@lottery.example", permission="REJECT")
    tell("add_access", accessType=0, nameType=1, name="partner.example", permission="OK")
    tell("add_dnsb", server="zen.example.org", type="rbl_client")
    tell("set_sender_quota", sasl_sender="bob", quota=200)
    tell("set_attachment_filter", add_list=["exe", "scr", "js"])
    tell("set_reply_setting", sender="boss@partner.example", subject="Away", message="Back on Monday.")
    tell("save_security", enable_dkim=True, dkim_selector="mail")
    wait_for(lambda: ask("queue_list")["total"] == 3 and ask("quarantine_list")["total"], "the mail")
    wait_for(lambda: read("load_log&limit=1").json()["total"] > 100, "the log")


class Pictures(harness.Story):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        fill_server()
        cls.browser = cls.enterClassContext(Browser())
        cls.browser.enter()

    def look(self, theme, width):
        self.browser.driver.execute_script("document.documentElement.dataset.theme = arguments[0]", theme)
        self.browser.resize(WIDTHS[width])

    def take(self, path, height=None):
        """What a window of that height shows, or all of the page; with few colours."""
        width = self.browser.driver.execute_script("return innerWidth")
        if height:
            self.browser.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
                "width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})
        whole = self.browser.driver.execute_script("return document.documentElement.scrollHeight")
        shot = self.browser.driver.execute_cdp_cmd("Page.captureScreenshot", {
            "captureBeyondViewport": True, "clip": {
                "x": 0, "y": 0, "width": width, "height": height or min(whole, TALLEST), "scale": 1}})
        with tempfile.NamedTemporaryFile(suffix=".png") as file:
            file.write(base64.b64decode(shot["data"]))
            file.flush()
            path.parent.mkdir(parents=True, exist_ok=True)
            subprocess.run(["pngquant", "--speed", "1", "--force", "--output", str(path), COLOURS, file.name], check=True)

    def test_take(self):
        folder = os.environ.get("MAILVANE_PICTURES")
        if folder:
            self.take_all(TOP / folder)
        else:
            self.take_for_documents(TOP / "docs/console")

    def take_all(self, folder):
        for route in ROUTES:
            self.browser.go(route + PARAMS.get(route, ""))
            for theme in ("light", "dark"):
                for width in WIDTHS:
                    self.look(theme, width)
                    self.take(folder / ("%s-%s-%s.png" % (route, width, theme)))

    def take_for_documents(self, folder):
        browser = self.browser
        self.look("light", "wide")
        browser.wait(".todo, .verdict.ok")  # the self-check takes seconds
        for route in ("overview", "log", "queue", "self_check", "dns", "security", "history", "access"):
            browser.go(route)
            self.take(folder / (route + ".png"), 640)
        browser.go("smtp")
        browser.fill("#field-message_size_limit_mb", "25")
        self.take(folder / "smtp.png", 760)
        browser.button("Discard").click()
        browser.go("alias?name=sales")
        self.take(folder / "alias.png", 760)
        browser.wait(".find").click()
        browser.press("port")
        self.take(folder / "palette.png", 760)
        browser.press(Keys.ESCAPE)
        browser.go("overview")
        self.look("dark", "narrow")
        self.take(folder / "phone.png", 800)
