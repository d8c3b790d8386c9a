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

/// Opens an account database for reading. While a switch of the account source is under way one
/// that is not there is empty; otherwise it is lost, and that is the reason.
Result<SQLite::Database> ReadAccountDatabase(AccountDatabase which);

/// Opens an account database for changes. It must be there: callers heal the account data first.
Result<SQLite::Database> ChangeAccountDatabase(AccountDatabase which);

}  // namespace host::stores
