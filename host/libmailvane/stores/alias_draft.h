// Changes of the aliases that are not stored yet.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <map>
#include <string>
#include <unordered_set>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/stores/alias_store.h"
#include "platform/mailvane/alias.h"

namespace host::stores {

/// The aliases of an open database as they are to be, in temporary tables of the same names, which
/// are files where they are large. As long as the connection lasts, `alias` and `member` are these
/// tables; what is stored is in `main`. The operations throw SQLite::Exception.
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

    /// Stores the changes, in the caller's transaction. Fails when others have changed what is
    /// stored since the draft was begun.
    Result<void> Store();

    /// An id that no alias has.
    std::int64_t NewId() { return nextId_++; }

private:
    /// Notes that a stored alias differs from now on.
    void Touch(std::int64_t alias);

    SQLite::Database& database_;
    std::int64_t version_;     ///< of what is stored
    std::int64_t firstNewId_;  ///< greater than those of what is stored
    std::int64_t nextId_;
};

/// Aliases on their way from a file into a draft of the same database. Nothing is left of what did
/// not come in whole.
class IncomingAliases {
public:
    IncomingAliases(SQLite::Database& database, AliasDraft& draft);

    /// Begins an alias, which gets exactly the members that follow. False when it came already.
    bool Begin(const std::string& name);

    /// Adds a member to the last alias that was begun. One whose type is negative becomes an alias
    /// when the file or the draft has one of its name, else a user.
    void AddMember(const MemberInfo& member);

    /// Ends the file; the number of its aliases.
    int Finish();

private:
    /// Whether the members so far may have this one. They are forgotten where they are many.
    bool MayHave(const MemberInfo& member);

    SQLite::Database& database_;
    AliasDraft& draft_;
    SQLite::Transaction transaction_;
    AliasFinder known_;
    SQLite::Statement add_;
    SQLite::Statement came_;
    SQLite::Statement empty_;
    SQLite::Statement member_;
    SQLite::Statement doubtful_;
    std::int64_t firstId_;    ///< of those that come new from this file
    std::int64_t alias_ = 0;  ///< 0 for one that came already
    std::int64_t position_ = 0;
    std::unordered_set<std::string> seen_;  ///< names of its members, in lower case
    bool hasBareNames_ = false;
    int count_ = 0;
};

}  // namespace host::stores
