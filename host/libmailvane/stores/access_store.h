// The access lists in etc/mailvane.db.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <list>
#include <string>

#include "host/libhaldcore/result.h"
#include "platform/mailvane/access.h"

namespace host::stores {

/// The script that makes the table of the access lists. Its order is the order of the lists.
constexpr char kAccessTable[] =
    "CREATE TABLE access (type INTEGER NOT NULL, name TEXT NOT NULL, name_type INTEGER NOT NULL, "
    "status INTEGER NOT NULL, PRIMARY KEY (type, name, name_type)) WITHOUT ROWID";

/// The entry as it is stored. Refused for a type, kind, name or permission that no list can hold.
Result<AccessInfo> MakeStored(AccessInfo entry);

/// What an entry does with names of its list: text of the file format, `name permission`. A domain
/// tree has a dot in front, so that the kind of every name shows.
std::string AccessLine(const AccessInfo& entry);

/// The entry of a line of that format, as it is stored.
Result<AccessInfo> ParseAccessLine(const std::string& line, Type type);

/// Number of entries that match the filter's search, and the page of them. Throw SQLite::Exception,
/// as do the operations below.
int CountAccess(SQLite::Database& store, const Filter& filter);
std::list<AccessInfo> PageOfAccess(SQLite::Database& store, const Filter& filter);

/// All entries of one list, in order.
std::list<AccessInfo> ReadAccess(SQLite::Database& store, Type type);

/// Adds a stored entry. Refused when there is one of that name.
Result<void> InsertAccess(SQLite::Database& store, const AccessInfo& entry);

/// Add a stored entry or give the one of that name its permission.
void MergeAccess(SQLite::Database& store, const std::list<AccessInfo>& entries);

/// Removes entries, all in one transaction; names may be in any spelling.
void RemoveAccess(SQLite::Database& store, const std::list<AccessInfo>& entries);

}  // namespace host::stores
