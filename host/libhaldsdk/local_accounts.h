// The machine's own account files. They are read here, so that an engine that hangs elsewhere never
// stands between the machine and its own accounts. What a process has read of them it keeps until
// they change: a page may ask for thousands of accounts.
#pragma once

#include <string>

#include "host/libhaldsdk/account_engine.h"

namespace host {

/// The group of /etc/group with this name.
Lookup FindLocalGroup(const std::string& name, Group& group);

/// The day (since 1970) on which the account of /etc/shadow expires, -1 for never.
Lookup FindLocalExpiry(const std::string& name, long& day);

/// Hands the users of /etc/passwd that have this group as their primary one to `visit`. False, with
/// errno set, when it cannot be read.
bool EachLocalUserOf(gid_t group, const UserVisitor& visit);

}  // namespace host
