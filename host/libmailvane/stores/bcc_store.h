// The rules of blind copies in etc/mailvane.db.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <list>
#include <string>

#include "host/libhaldcore/result.h"
#include "platform/mailvane/bcc.h"

namespace host::stores {

/// The script that makes the table of the rules. Its order is the order of the list.
constexpr char kBccTable[] =
    "CREATE TABLE bcc (type INTEGER NOT NULL, name TEXT NOT NULL, bcc_to TEXT NOT NULL, "
    "PRIMARY KEY (type, name)) WITHOUT ROWID";

/// The rule as it is stored. A rule is for an address, for a user of this server by the bare name,
/// or for a whole domain, "@domain"; others are refused.
Result<BccInfo> MakeStored(BccInfo rule);

/// Refuses what is no address or user that copies could go to.
Result<void> CheckCopyTarget(const std::string& address);

/// Number of rules that match the filter's search, and the page of them. Throw SQLite::Exception,
/// as do the operations below.
int CountBcc(SQLite::Database& store, const Filter& filter);
std::list<BccInfo> PageOfBcc(SQLite::Database& store, const Filter& filter);

/// All rules of one type, in order.
std::list<BccInfo> ReadBcc(SQLite::Database& store, BccType type);

/// The rules of one type as text, one a line: the file format of exports, and a map of Postfix.
std::string BccText(SQLite::Database& store, BccType type);

/// Adds a stored rule. Refused when there is one of that type and name.
Result<void> InsertBcc(SQLite::Database& store, const BccInfo& rule);

/// Adds stored rules, or gives those of their type and name another target.
void MergeBcc(SQLite::Database& store, const std::list<BccInfo>& rules);

/// Removes rules by type and name; names may be in any case. Returns the rules that were removed.
std::list<BccInfo> RemoveBcc(SQLite::Database& store, const std::list<BccInfo>& rules);

}  // namespace host::stores
