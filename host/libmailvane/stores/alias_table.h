// The alias table in memory, and its changes since it was read.
#pragma once

#include <cstdint>
#include <list>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/libhaldcore/result.h"
#include "platform/mailvane/alias.h"

namespace host::stores {

struct AliasEntry {
    std::int64_t id = 0;  ///< row id in the database; 0 until it is stored
    std::string name;
    std::vector<MemberInfo> members;
};
using AliasEntries = std::list<AliasEntry>;

/// A change to be stored: ids of aliases to delete, then aliases to add. A changed alias is in
/// both. Those to add are the table's.
struct AliasChange {
    std::vector<std::int64_t> removed;
    std::vector<const AliasEntry*> added;
};

/// The aliases. Names that differ only in case are the same name: `Sales` cannot be added beside
/// `sales`. A member that is an alias follows that alias when it is renamed or removed.
class AliasTable {
public:
    /// A table of stored aliases, in order.
    explicit AliasTable(AliasEntries entries = {});

    const AliasEntries& entries() const { return entries_; }

    /// The alias of exactly this name, and the one of this name in any case; null when there is
    /// none.
    const AliasEntry* Find(const std::string& name) const;
    const AliasEntry* FindAnyCase(const std::string& name) const;

    /// Adds those members that the alias lacks. A missing alias is added at the end of the table.
    /// After a refusal nothing has changed.
    Result<void> Add(const std::string& name, const std::list<MemberInfo>& members);
    /// Removes those members that the alias has. Refused when there is no such alias.
    Result<void> Remove(const std::string& name, const std::list<MemberInfo>& members);
    /// Renames an alias. Refused, with nothing changed, when there is no such alias or the new name
    /// is invalid or taken.
    Result<void> Rename(const std::string& from, const std::string& to);
    /// Sets the members of aliases, existing or new. All names must be valid.
    void Replace(AliasEntries aliases);
    /// Removes aliases; names that are not there are ignored.
    void Delete(const std::list<std::string>& names);

    /// The change still to be stored; new aliases get their ids here.
    AliasChange Pending();

private:
    /// The alias of this name, marked as changed; added when missing.
    AliasEntry& Edit(const std::string& name);
    void Touch(const AliasEntry& entry);
    Result<void> Check(const MemberInfo& member, const std::string& owner) const;
    /// Renames members that are aliases, by their old names in lower case; a member whose new name
    /// is empty is removed.
    void Follow(const std::unordered_map<std::string, std::string>& newNames);

    AliasEntries entries_;
    std::unordered_map<std::string, AliasEntries::iterator> byName_;  ///< by name in lower case
    std::set<std::int64_t> touched_;                                  ///< changed or removed
    std::int64_t nextId_ = 1;
};

}  // namespace host::stores
