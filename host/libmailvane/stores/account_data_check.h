// Validation of account databases before a restore.
#pragma once

#include <string>

#include "host/libmailvane/stores/account_databases.h"

namespace host::stores {

/// Brings the database at `path` up to date, and refuses it unless it has exactly the schema of
/// `which` and only entries that the pages would have stored. Throws SQLite::Exception.
Result<void> CheckAccountDatabase(AccountDatabase which, const std::string& path);

}  // namespace host::stores
