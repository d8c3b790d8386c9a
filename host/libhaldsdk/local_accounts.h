// The local account files, /etc/passwd, /etc/group and /etc/shadow. Read without the C library's
// name service, so that a remote engine that hangs does not block local accounts. Kept in memory
// until the files change, since a page may ask for thousands of accounts.
#pragma once

#include <optional>
#include <string>

#include "host/libhaldsdk/account_engine.h"

namespace host {

/// The user of this name in /etc/passwd, and the group in /etc/group; null when there is none. What
/// is found stays as long as the file is not asked again.
Result<const User*> FindLocalUser(const std::string& name);
Result<const Group*> FindLocalGroup(const std::string& name);

/// The day (since 1970) on which an account of /etc/shadow expires, -1 for never.
Result<std::optional<long>> FindLocalExpiry(const std::string& name);

/// Calls `visit` for the users of /etc/passwd with this primary group.
Result<void> EachLocalUserOf(gid_t group, const UserVisitor& visit);

}  // namespace host
