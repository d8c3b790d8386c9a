// The rules of blind carbon copies in etc/mailvane.db.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <list>
#include <string>

#include "host/libhaldcore/result.h"
#include "platform/mailvane/bcc.h"

namespace host::stores {

/// The SQL script that creates the table. Its primary key is also the order of the list.
constexpr char kBccTable[] =
    "CREATE TABLE bcc (type INTEGER NOT NULL, name TEXT NOT NULL, bcc_to TEXT NOT NULL, "
    "PRIMARY KEY (type, name)) WITHOUT ROWID";

/// The rule in stored spelling. Its name must be an address, the bare name of a user of this
/// server, or "@domain"; others are refused.
Result<BccInfo> MakeStored(BccInfo rule);

/// Refuses a text that is neither an address nor a user, so that copies cannot go there.
Result<void> CheckCopyTarget(const std::string& address);

/// The number of rules that match the filter's search, and the filter's page of them. These and the
/// operations below throw SQLite::Exception.
int CountBcc(SQLite::Database& store, const Filter& filter);
std::list<BccInfo> PageOfBcc(SQLite::Database& store, const Filter& filter);

/// All rules of one type, in stored order.
std::list<BccInfo> ReadBcc(SQLite::Database& store, BccType type);

/// The rules of one type as text, `name target` a line: the format of exports and of the Postfix
/// map.
std::string BccText(SQLite::Database& store, BccType type);

/// Adds a rule in stored spelling. Refused when there is one of the same type and name.
Result<void> InsertBcc(SQLite::Database& store, const BccInfo& rule);

/// Adds rules in stored spelling; a rule of the same type and name gets the new target.
void MergeBcc(SQLite::Database& store, const std::list<BccInfo>& rules);

/// Removes rules by type and name, in any case, and returns them as they were stored.
std::list<BccInfo> RemoveBcc(SQLite::Database& store, const std::list<BccInfo>& rules);

}  // namespace host::stores
