// The local account files, /etc/passwd, /etc/group and /etc/shadow. Read without the C library's
// name service, so that a remote engine that hangs does not block local accounts. Kept in memory
// until the files change, since a page may ask for thousands of accounts.
#pragma once

#include <string>

#include "host/libhaldsdk/account_engine.h"

namespace host {

/// The group of this name in /etc/group.
Lookup FindLocalGroup(const std::string& name, Group& group);

/// The day (since 1970) on which an account of /etc/shadow expires, -1 for never.
Lookup FindLocalExpiry(const std::string& name, long& day);

/// Calls `visit` for the users of /etc/passwd with this primary group. False, with errno set, when
/// the file cannot be read.
bool EachLocalUserOf(gid_t group, const UserVisitor& visit);

}  // namespace host
