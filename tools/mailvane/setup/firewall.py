"""The package's table in the packet filter, which closes the ports of switched-off mail services.
"""
import os

from mailvane.common.files import sync_folder
from mailvane.setup.run import attempt, output

NFT = "/usr/sbin/nft"


def lift(etc: str) -> None:
    """Removes the table, now and for the next boot."""
    rules = etc + "/firewall.nft"
    if os.path.exists(rules):
        os.replace(rules, rules + ".lifted")
        sync_folder(etc)
    if os.path.exists(NFT):
        attempt(NFT, "delete", "table", "inet", "mailvane")  # it may not be loaded


def put_back(etc: str) -> None:
    """Loads the removed table again; the next save renders new rules."""
    rules = etc + "/firewall.nft"
    if os.path.exists(rules + ".lifted"):
        os.replace(rules + ".lifted", rules)
        if os.path.exists(NFT):
            output(NFT, "-f", rules)
