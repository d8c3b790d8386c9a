// The black and the white list of the spam filter in etc/mailvane.db.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <list>
#include <string>

#include "host/libhaldcore/result.h"
#include "platform/mailvane/spam.h"

namespace host::stores {

/// The SQL script that creates the table of both lists. A name can be on one of them only. The
/// primary key is also the order of the lists.
constexpr char kBlackWhiteTable[] =
    "CREATE TABLE black_white (type INTEGER NOT NULL, name TEXT NOT NULL, "
    "name_type INTEGER NOT NULL, black_white INTEGER NOT NULL, "
    "PRIMARY KEY (type, name, name_type)) WITHOUT ROWID";

/// The list selected by a number: the white list unless it is BLACK_LIST.
BlackWhiteType ListOf(int blackWhite);

/// The entry in stored spelling. Refused for an unknown type or kind and for a bad name.
Result<BlackWhite> MakeStored(BlackWhite entry);

/// The entry as a line of the export format: `sender`, `recipient` or `client`, and the name. A
/// domain tree begins with a dot: `sender .a.example`.
std::string BlackWhiteLine(const BlackWhite& entry);

/// Parses a line of that format as an entry of `list`, in stored spelling. A name alone is a client
/// when it is an IP address or network, else a sender. Any other line is refused.
Result<BlackWhite> ParseBlackWhiteLine(const std::string& line, BlackWhiteType list);

/// The number of entries that match the filter's search, and the filter's page of them. These and
/// the operations below throw SQLite::Exception.
int CountBlackWhite(SQLite::Database& store, const BlackWhiteFilter& filter);
std::list<BlackWhite> PageOfBlackWhite(SQLite::Database& store, const BlackWhiteFilter& filter);

/// All entries of one type from both lists, in stored order.
std::list<BlackWhite> ReadBlackWhite(SQLite::Database& store, int type);

/// Adds entries in stored spelling, all or none. Refused when a name is on the other list, or on
/// the same list unless `again` allows that.
Result<void> InsertBlackWhite(SQLite::Database& store, const std::list<BlackWhite>& entries,
                              bool again);

/// Removes entries in one transaction; names may be in any spelling.
void RemoveBlackWhite(SQLite::Database& store, const std::list<BlackWhite>& entries);

}  // namespace host::stores
