// The alias table, and its changes since it was read.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <list>
#include <optional>
#include <string>
#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/stores/alias_draft.h"
#include "host/libmailvane/stores/alias_store.h"
#include "platform/mailvane/alias.h"

namespace host::stores {

/// The aliases of a database, which is not written to: changes are a draft. Names that differ only
/// in case are the same name: `Sales` cannot be added beside `sales`. A member that is an alias
/// follows that alias when it is renamed or removed. The operations throw SQLite::Exception.
class AliasTable {
public:
    /// An empty table.
    AliasTable();
    explicit AliasTable(SQLite::Database stored);

    /// Where its aliases, with their changes, can be read.
    SQLite::Database& database() { return database_; }
    AliasDraft& draft();

    /// Keeps what is stored as it is, until a change or `EndMoment`: nobody else can store
    /// anything. Looks at all pages of it, so that damage shows.
    void BeginMoment();
    void EndMoment();

    /// The alias of exactly this name, and the one of this name in any case.
    std::optional<AliasEntry> Find(const std::string& name);
    std::optional<AliasEntry> FindAnyCase(const std::string& name) { return finder_.Find(name); }

    std::vector<MemberInfo> Members(const AliasEntry& alias) { return finder_.Members(alias.id); }
    std::list<std::string> Names();  ///< of all aliases, in order

    /// Adds those members that the alias lacks. A missing alias is added at the end of the table.
    /// After a refusal nothing has changed.
    Result<void> Add(const std::string& name, const std::list<MemberInfo>& members);
    /// Removes those members that the alias has. Refused when there is no such alias.
    Result<void> Remove(const std::string& name, const std::list<MemberInfo>& members);
    /// Renames an alias. Refused, with nothing changed, when there is no such alias or the new name
    /// is invalid or taken.
    Result<void> Rename(const std::string& from, const std::string& to);
    /// Removes aliases; names that are not there are ignored.
    void Delete(const std::list<std::string>& names);

private:
    Result<void> Check(const MemberInfo& member, const std::string& owner);

    SQLite::Database database_;
    AliasFinder finder_;
    std::optional<SQLite::Transaction> moment_;
    std::optional<AliasDraft> draft_;  ///< once there are changes
};

}  // namespace host::stores
