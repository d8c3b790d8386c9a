// The access lists in etc/mailvane.db.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <list>
#include <string>

#include "host/libhaldcore/result.h"
#include "platform/mailvane/access.h"

namespace host::stores {

/// The SQL script that creates the table. Its primary key is also the order of the lists.
constexpr char kAccessTable[] =
    "CREATE TABLE access (type INTEGER NOT NULL, name TEXT NOT NULL, name_type INTEGER NOT NULL, "
    "status INTEGER NOT NULL, PRIMARY KEY (type, name, name_type)) WITHOUT ROWID";

/// The entry in stored spelling. Refused for an unknown type, kind or permission and for a bad
/// name.
Result<AccessInfo> MakeStored(AccessInfo entry);

/// The entry as a line of the export format, `name permission`. A domain tree begins with a dot:
/// `.a.example REJECT` is for a.example and all below it.
std::string AccessLine(const AccessInfo& entry);

/// Parses a line of that format; the entry has the stored spelling.
Result<AccessInfo> ParseAccessLine(const std::string& line, Type type);

/// The number of entries that match the filter's search, and the filter's page of them. These and
/// the operations below throw SQLite::Exception.
int CountAccess(SQLite::Database& store, const Filter& filter);
std::list<AccessInfo> PageOfAccess(SQLite::Database& store, const Filter& filter);

/// All entries of one list, in stored order.
std::list<AccessInfo> ReadAccess(SQLite::Database& store, Type type);

/// Adds an entry in stored spelling. Refused when its list has the name already.
Result<void> InsertAccess(SQLite::Database& store, const AccessInfo& entry);

/// Adds entries in stored spelling; a name that is there already gets the new permission.
void MergeAccess(SQLite::Database& store, const std::list<AccessInfo>& entries);

/// Removes entries in one transaction; names may be in any spelling.
void RemoveAccess(SQLite::Database& store, const std::list<AccessInfo>& entries);

}  // namespace host::stores
