// The aliases in etc/alias.db.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include "host/libmailvane/stores/alias_table.h"

namespace host::stores {

/// The script that makes the tables. The mail server's names do not differ by case.
constexpr char kAliasTables[] =
    "CREATE TABLE alias (id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE COLLATE NOCASE);"
    "CREATE TABLE member (alias INTEGER NOT NULL, position INTEGER NOT NULL, name TEXT NOT NULL,"
    " type INTEGER NOT NULL, PRIMARY KEY (alias, position)) WITHOUT ROWID";

/// All aliases in order; none when there is no database. Throws as `ReadAccountDatabase`.
AliasEntries ReadAliases();

/// The same of an open database.
AliasEntries AliasesIn(SQLite::Database& database);

/// Makes a change in one transaction; nothing has changed after a failure. Throws as
/// `ChangeAccountDatabase`.
Result<void> ChangeAliases(const AliasChange& change);

}  // namespace host::stores
