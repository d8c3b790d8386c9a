// The aliases in etc/alias.db.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/stores/alias_table.h"

namespace host::stores {

/// The SQL script that creates the tables. Names are compared without case, as Postfix does.
constexpr char kAliasTables[] =
    "CREATE TABLE alias (id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE COLLATE NOCASE);"
    "CREATE TABLE member (alias INTEGER NOT NULL, position INTEGER NOT NULL, name TEXT NOT NULL,"
    " type INTEGER NOT NULL, PRIMARY KEY (alias, position)) WITHOUT ROWID";

/// All aliases of an open database, in order. Throws SQLite::Exception, as does the change below.
AliasEntries AliasesIn(SQLite::Database& database);

/// All aliases of etc/alias.db. Fails as `ReadAccountDatabase`.
Result<AliasEntries> ReadAliases();

/// Stores a change, in the caller's transaction.
void ChangeAliases(SQLite::Database& database, const AliasChange& change);

}  // namespace host::stores
