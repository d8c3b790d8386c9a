"""The first administrator, in whose name requests are made unless another is given."""
import grp
import pwd

from mailvane.common.errors import Usage
from mailvane.common.files import lines_of
from mailvane.common.settings import parsed

SETTINGS = "/etc/haldinfo.conf"


def first_administrator(settings: str = SETTINGS) -> str:
    """Login name of the first member of the administrators' group."""
    name = group_name(settings)
    try:
        group = grp.getgrnam(name)
    except KeyError as problem:
        raise Usage("there is no group %s; name somebody with --as" % name) from problem
    members = group.gr_mem or [user.pw_name for user in pwd.getpwall()
                               if user.pw_gid == group.gr_gid]
    if not members:
        raise Usage("the group %s has no member; name somebody with --as" % name)
    return members[0]


def group_name(settings: str = SETTINGS) -> str:
    """Name of the administrators' group."""
    return parsed(lines_of(settings)).get("admin_group") or "administrators"
