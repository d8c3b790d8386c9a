// Changes of the aliases that are not stored yet.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <map>
#include <string>

#include "host/libmailvane/stores/alias_store.h"
#include "platform/mailvane/alias.h"

namespace host::stores {

/// Changes of the aliases of an open database, which stays as it is: they are in temporary tables
/// beside it, in files where they are large. As long as the connection lasts, `alias` and `member`
/// are views of the aliases as they are to be. The operations throw SQLite::Exception.
class AliasDraft {
public:
    explicit AliasDraft(SQLite::Database& database);

    /// Adds an alias at the end; its id.
    std::int64_t Add(const std::string& name);
    void Remove(std::int64_t alias);
    void Rename(std::int64_t alias, const std::string& name);

    /// Adds a member behind the others.
    void AddMember(std::int64_t alias, const MemberInfo& member);
    void RemoveMember(std::int64_t alias, const MemberInfo& member);

    /// Renames members that are aliases, by their old names in any case; a member whose new name
    /// is empty is removed.
    void Follow(const std::map<std::string, std::string>& newNames);

    /// Stores the changes in another connection to the database, in the caller's transaction.
    void StoreInto(SQLite::Database& store);

    /// An id that no alias has.
    std::int64_t NewId() { return nextId_++; }

private:
    /// Brings a stored alias into the draft, where it can be changed.
    void Touch(std::int64_t alias);

    SQLite::Database& database_;
    std::int64_t nextId_;
};

/// Aliases on their way from a file into a draft of the same database.
class IncomingAliases {
public:
    IncomingAliases(SQLite::Database& database, AliasDraft& draft);

    /// Begins an alias. False when it came already.
    bool Begin(const std::string& name);

    /// Adds a member to the last alias that was begun. One whose type is negative becomes an alias
    /// when the file or the draft has one of its name, else a user.
    void AddMember(const MemberInfo& member);

    /// Brings all into the draft, where each gets exactly these members; their number.
    int MoveIn();

private:
    SQLite::Database& database_;
    AliasDraft& draft_;
    SQLite::Transaction transaction_;  ///< nothing is left of what did not come in whole
    AliasFinder known_;
    SQLite::Statement begin_;
    SQLite::Statement member_;
    std::int64_t alias_ = 0;
    std::int64_t position_ = 0;
};

}  // namespace host::stores
