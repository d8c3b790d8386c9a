// The local account files, /etc/passwd, /etc/group and /etc/shadow. Read without the C library's
// name service, so that a remote engine that hangs does not block local accounts. Kept in memory
// until the files change, since a page may ask for thousands of accounts.
#pragma once

#include <optional>
#include <string>

#include "host/libhaldsdk/account_engine.h"

namespace host {

/// The group of this name in /etc/group.
Result<std::optional<Group>> FindLocalGroup(const std::string& name);

/// The day (since 1970) on which an account of /etc/shadow expires, -1 for never.
Result<std::optional<long>> FindLocalExpiry(const std::string& name);

/// Calls `visit` for the users of /etc/passwd with this primary group.
Result<void> EachLocalUserOf(gid_t group, const UserVisitor& visit);

}  // namespace host
