// The aliases in etc/alias.db.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/libhaldcore/result.h"
#include "platform/mailvane/alias.h"

namespace host::stores {

/// The SQL script that creates the tables. Names are compared without case, as Postfix does.
constexpr char kAliasTables[] =
    "CREATE TABLE alias (id INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE COLLATE NOCASE);"
    "CREATE TABLE member (alias INTEGER NOT NULL, position INTEGER NOT NULL, name TEXT NOT NULL,"
    " type INTEGER NOT NULL, PRIMARY KEY (alias, position)) WITHOUT ROWID";

/// An alias without its members, of which there may be many.
struct AliasEntry {
    std::int64_t id = 0;  ///< row id in the database, greater than 0
    std::string name;
};

/// Members of an alias that follow each other, with their positions.
struct MemberPage {
    std::int64_t after = 0;  ///< the first one is the next after this position
    std::int64_t last = 0;   ///< position of the last one; `kNoMoreMembers` on the last page
    std::vector<std::pair<std::int64_t, MemberInfo>> members;
};
constexpr std::int64_t kBeforeMembers = -1;
constexpr std::int64_t kNoMoreMembers = std::numeric_limits<std::int64_t>::max();

/// Calls `take` for each alias of an open database, in order, until it fails. Throws
/// SQLite::Exception, as do the classes below.
Result<void> EachAlias(SQLite::Database& database,
                       const std::function<Result<void>(const AliasEntry&)>& take);

/// Looks up aliases of an open database, which must outlive the object. What a draft changes in it
/// is seen.
class AliasFinder {
public:
    explicit AliasFinder(SQLite::Database& database);

    /// The alias of this name, in any case.
    std::optional<AliasEntry> Find(const std::string& name);

    /// The first members of an alias that stand after a position.
    MemberPage MembersAfter(std::int64_t alias, std::int64_t position);

    /// All members of an alias, in order.
    std::vector<MemberInfo> Members(std::int64_t alias);

private:
    SQLite::Statement alias_;
    SQLite::Statement members_;
};

/// Reads the aliases of an open database with their members, in order, one after the other.
class AliasReader {
public:
    explicit AliasReader(SQLite::Database& database);

    /// Goes on to the next alias; false after the last.
    bool Next();

    const std::string& name() const { return name_; }
    std::list<MemberInfo>& members() { return members_; }

private:
    SQLite::Statement aliases_;
    SQLite::Statement rows_;  ///< of members
    bool hasRow_;
    std::string name_;
    std::list<MemberInfo> members_;
};

}  // namespace host::stores
