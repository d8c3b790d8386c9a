// The two databases kept per account combination.
#pragma once

#include <string>

#include "host/libmailvane/system/database.h"

namespace host::stores {

enum class AccountDatabase {
    kAlias,    ///< etc/alias.db: aliases and their members
    kMailvane  ///< etc/mailvane.db: access, bcc, black and white list, sender quota
};

/// Path and schema of an account database.
struct AccountStore {
    const char* live;          ///< path in force, relative to the package
    const char* parkedSuffix;  ///< end of the name of a parked file
    system::Schema schema;
};

const AccountStore& StoreOf(AccountDatabase which);

/// Opens an account database for reading. While a switch of the account source is under way one
/// that is not there is empty; otherwise it is lost, and that is the reason.
Result<SQLite::Database> ReadAccountDatabase(AccountDatabase which);

/// Opens an account database for changes. It must exist: callers heal the account data first.
Result<SQLite::Database> ChangeAccountDatabase(AccountDatabase which);

/// The same with a copy of the database in a folder, which must be there.
Result<SQLite::Database> ReadCopy(AccountDatabase which, const std::string& folder);
Result<SQLite::Database> ChangeCopy(AccountDatabase which, const std::string& folder);

}  // namespace host::stores
