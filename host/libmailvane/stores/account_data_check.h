// Account databases that come from elsewhere.
#pragma once

#include <string>

#include "host/libmailvane/stores/account_databases.h"

namespace host::stores {

/// Refuses the database at `path` unless it is one that the scripts of `which` make, and holds
/// nothing but what the pages of its lists would have stored. Brings an older one up to date.
/// Throws SQLite::Exception.
Result<void> CheckAccountDatabase(AccountDatabase which, const std::string& path);

}  // namespace host::stores
