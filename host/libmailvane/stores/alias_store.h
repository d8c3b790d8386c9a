// The aliases in etc/alias.db.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include "host/libmailvane/stores/alias_table.h"

namespace host::stores {

/// The SQL script that creates the tables. Names are compared without case, as Postfix does.
constexpr char kAliasTables[] =
    "CREATE TABLE alias (id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE COLLATE NOCASE);"
    "CREATE TABLE member (alias INTEGER NOT NULL, position INTEGER NOT NULL, name TEXT NOT NULL,"
    " type INTEGER NOT NULL, PRIMARY KEY (alias, position)) WITHOUT ROWID";

/// All aliases in order; none when there is no database.
Result<AliasEntries> ReadAliases();

/// All aliases of an open database in order. Throws SQLite::Exception.
AliasEntries AliasesIn(SQLite::Database& database);

/// Stores a change in one transaction; after a failure nothing has changed.
Result<void> ChangeAliases(const AliasChange& change);

}  // namespace host::stores
