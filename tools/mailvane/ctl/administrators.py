"""In whose name a request is made when nobody is named: the first administrator."""
import grp
import pwd

from mailvane.ctl.reference import Usage

SETTINGS = "/etc/haldinfo.conf"


def first_administrator(settings=SETTINGS):
    """Login name of the first member of the administrators group."""
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


def group_name(settings=SETTINGS):
    """Name of the administrators group."""
    try:
        with open(settings, encoding="utf-8") as file:
            for line in file:
                key, equals, value = line.partition("=")
                if equals and key.strip() == "admin_group":
                    return value.strip().strip('"') or "administrators"
    except FileNotFoundError:
        pass
    return "administrators"
