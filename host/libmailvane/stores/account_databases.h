// The two databases that the mail server keeps per account combination.
#pragma once

#include "host/libmailvane/system/database.h"

namespace host::stores {

enum class AccountDatabase {
    kAlias,    ///< etc/alias.db: aliases and their members
    kMailvane  ///< etc/mailvane.db: access, blind copies, black and white list, sender quota
};

/// Where a database lies and what it looks like.
struct AccountStore {
    const char* live;          ///< relative to the package
    const char* parkedSuffix;  ///< of its name among the parked files
    system::Schema schema;
};

const AccountStore& StoreOf(AccountDatabase which);

/// Opens an account database for reading; an empty one when there is none.
Result<SQLite::Database> ReadAccountDatabase(AccountDatabase which);

/// Opens an account database for changes. It must be there: callers heal the account data first, so
/// that a new one records its combination.
Result<SQLite::Database> ChangeAccountDatabase(AccountDatabase which);

}  // namespace host::stores
