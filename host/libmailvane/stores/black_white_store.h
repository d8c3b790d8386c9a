// The black and the white list of the spam filter in etc/mailvane.db.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <list>
#include <string>

#include "host/libhaldcore/result.h"
#include "platform/mailvane/spam.h"

namespace host::stores {

/// The script that makes the table of both lists: a name stands on one of them. Its order is the
/// order of the lists.
constexpr char kBlackWhiteTable[] =
    "CREATE TABLE black_white (type INTEGER NOT NULL, name TEXT NOT NULL, "
    "name_type INTEGER NOT NULL, black_white INTEGER NOT NULL, "
    "PRIMARY KEY (type, name, name_type)) WITHOUT ROWID";

/// The list that a number selects.
BlackWhiteType ListOf(int blackWhite);

/// The entry as it is stored. Refused for a type, kind or name that no list can hold.
Result<BlackWhite> MakeStored(BlackWhite entry);

/// A line of the file format: `sender`, `recipient` or `client`, and the name. A domain tree has a
/// dot in front, so that the kind of every name shows.
std::string BlackWhiteLine(const BlackWhite& entry);

/// The entry of a line of that format for `list`, as it is stored. Refused when it is not two
/// words, the first one of the three. A name alone is a sender, or a client if it is an IP address
/// or network.
Result<BlackWhite> ParseBlackWhiteLine(const std::string& line, BlackWhiteType list);

/// Number of entries that match the filter, whatever the page, and the page of them. Throw
/// SQLite::Exception, as do the operations below.
int CountBlackWhite(SQLite::Database& store, const BlackWhiteFilter& filter);
std::list<BlackWhite> PageOfBlackWhite(SQLite::Database& store, const BlackWhiteFilter& filter);

/// All entries of one type, of both lists, in order.
std::list<BlackWhite> ReadBlackWhite(SQLite::Database& store, int type);

/// Adds stored entries, all or none. Refused when one of them stands on the other list, or, unless
/// `again` allows it, on its own.
Result<void> InsertBlackWhite(SQLite::Database& store, const std::list<BlackWhite>& entries,
                              bool again);

/// Removes entries, all in one transaction; names may be in any spelling.
void RemoveBlackWhite(SQLite::Database& store, const std::list<BlackWhite>& entries);

}  // namespace host::stores
