"""Our table of the packet filter, which closes the ports of mail services that are off."""
import os

from mailvane.common.files import sync_folder
from mailvane.setup.run import attempt, output

NFT = "/usr/sbin/nft"


def lift(etc: str) -> None:
    """Opens what it closes, now and at the next boot."""
    rules = etc + "/firewall.nft"
    if os.path.exists(rules):
        os.replace(rules, rules + ".lifted")
        sync_folder(etc)
    if os.path.exists(NFT):
        attempt(NFT, "delete", "table", "inet", "mailvane")  # none may be loaded


def put_back(etc: str) -> None:
    """Loads again what was lifted; a save makes the rules anew."""
    rules = etc + "/firewall.nft"
    if os.path.exists(rules + ".lifted"):
        os.replace(rules + ".lifted", rules)
        if os.path.exists(NFT):
            output(NFT, "-f", rules)
