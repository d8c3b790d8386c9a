// The alias table in memory, with what has changed since it was read.
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
    std::int64_t id = 0;  ///< in the store; 0 for one that is not there yet
    std::string name;
    std::vector<MemberInfo> members;
};
using AliasEntries = std::list<AliasEntry>;

/// A change of the store: what goes by its number, then what comes.
struct AliasChange {
    std::vector<std::int64_t> removed;
    std::vector<AliasEntry> added;
};

/// Names that differ by case alone are the same name to the mail server, so no two aliases have
/// them. A member that is an alias follows the alias when that is renamed or removed.
class AliasTable {
public:
    /// The table as it was read, in order.
    explicit AliasTable(AliasEntries entries = {});

    const AliasEntries& entries() const { return entries_; }

    /// The alias of exactly this name, or of this name in whatever case; null when there is none.
    const AliasEntry* Find(const std::string& name) const;
    const AliasEntry* FindAnyCase(const std::string& name) const;

    /// Adds members that are not there yet. A missing alias is made, at the end of the table.
    /// Nothing has changed when it is refused.
    Result<void> Add(const std::string& name, const std::list<MemberInfo>& members);
    /// Removes members; those that are none are left out. Refused when there is no such alias.
    Result<void> Remove(const std::string& name, const std::list<MemberInfo>& members);
    /// Refused, with nothing changed, when there is no such alias, or the new name is none or
    /// taken.
    Result<void> Rename(const std::string& from, const std::string& to);
    /// Gives aliases, some of them new, exactly these members. All names must be good.
    void Replace(const std::vector<AliasEntry>& aliases);
    /// Removes aliases; absent ones are left out.
    void Delete(const std::list<std::string>& names);

    /// What the store lacks; new aliases get their numbers here.
    AliasChange Pending();
    /// The store has it all.
    void Stored() { touched_.clear(); }

private:
    /// An alias about to change, made when it is missing.
    AliasEntry& Edit(const std::string& name);
    void Touch(const AliasEntry& entry);
    Result<void> Check(const MemberInfo& member, const std::string& owner) const;
    /// Renames the members that are one of these aliases, by their names in lower case; removes
    /// those whose new name is empty.
    void Follow(const std::unordered_map<std::string, std::string>& newNames);

    AliasEntries entries_;
    std::unordered_map<std::string, AliasEntries::iterator> byName_;  ///< by name in lower case
    std::set<std::int64_t> touched_;                                  ///< changed or removed
    std::int64_t nextId_ = 1;
};

}  // namespace host::stores
