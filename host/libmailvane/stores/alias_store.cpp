// The aliases in etc/alias.db.
#include "host/libmailvane/stores/alias_store.h"

#include <utility>

namespace host::stores {
namespace {

constexpr std::int64_t kMostOfPage = 100;

}  // namespace

Result<void> EachAlias(SQLite::Database& database,
                       const std::function<Result<void>(const AliasEntry&)>& take)
{
    SQLite::Statement aliases(database, "SELECT id, name FROM alias ORDER BY id");
    while (aliases.executeStep()) {
        Result<void> taken =
            take({aliases.getColumn(0).getInt64(), aliases.getColumn(1).getText()});
        if (!taken) return taken;
    }
    return {};
}

AliasFinder::AliasFinder(SQLite::Database& database)
    : alias_(database, "SELECT id, name FROM alias WHERE name = ? COLLATE NOCASE"),
      members_(database,
               "SELECT position, name, type FROM member WHERE alias = ? AND position > ? "
               "ORDER BY position LIMIT ?")
{
}

std::optional<AliasEntry> AliasFinder::Find(const std::string& name)
{
    std::optional<AliasEntry> found;
    alias_.bindNoCopy(1, name);
    if (alias_.executeStep()) {
        found = AliasEntry{alias_.getColumn(0).getInt64(), alias_.getColumn(1).getText()};
    }
    alias_.reset();
    return found;
}

MemberPage AliasFinder::MembersAfter(std::int64_t alias, std::int64_t position)
{
    MemberPage page{position, kNoMoreMembers, {}};
    members_.bind(1, alias);
    members_.bind(2, position);
    members_.bind(3, kMostOfPage);
    while (members_.executeStep()) {
        page.members.push_back(
            {members_.getColumn(0).getInt64(),
             MemberInfo{members_.getColumn(1).getText(), members_.getColumn(2).getInt()}});
    }
    members_.reset();
    if (page.members.size() == kMostOfPage) page.last = page.members.back().first;
    return page;
}

std::vector<MemberInfo> AliasFinder::Members(std::int64_t alias)
{
    std::vector<MemberInfo> members;
    for (std::int64_t position = kBeforeMembers; position != kNoMoreMembers;) {
        MemberPage page = MembersAfter(alias, position);
        for (auto& [_, member] : page.members) members.push_back(std::move(member));
        position = page.last;
    }
    return members;
}

AliasReader::AliasReader(SQLite::Database& database)
    : aliases_(database, "SELECT id, name FROM alias ORDER BY id"),
      rows_(database, "SELECT alias, name, type FROM member ORDER BY alias, position"),
      hasRow_(rows_.executeStep())
{
}

bool AliasReader::Next()
{
    members_.clear();
    if (!aliases_.executeStep()) return false;

    const std::int64_t alias = aliases_.getColumn(0).getInt64();
    name_ = aliases_.getColumn(1).getText();
    for (; hasRow_; hasRow_ = rows_.executeStep()) {
        const std::int64_t owner = rows_.getColumn(0).getInt64();
        if (owner > alias) break;
        if (owner == alias) {
            members_.push_back({rows_.getColumn(1).getText(), rows_.getColumn(2).getInt()});
        }
    }
    return true;
}

}  // namespace host::stores
