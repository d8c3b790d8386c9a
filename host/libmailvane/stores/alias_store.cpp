// The aliases in etc/alias.db.
#include "host/libmailvane/stores/alias_store.h"

#include <utility>

namespace host::stores {

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
      member_(database,
              "SELECT position, name, type FROM member WHERE alias = ? AND position >= ? "
              "ORDER BY position LIMIT 1")
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

std::optional<MemberInfo> AliasFinder::NextMember(std::int64_t alias, std::int64_t& position)
{
    std::optional<MemberInfo> found;
    member_.bind(1, alias);
    member_.bind(2, position);
    if (member_.executeStep()) {
        position = member_.getColumn(0).getInt64() + 1;
        found = MemberInfo{member_.getColumn(1).getText(), member_.getColumn(2).getInt()};
    }
    member_.reset();
    return found;
}

std::vector<MemberInfo> AliasFinder::Members(std::int64_t alias)
{
    std::vector<MemberInfo> members;
    std::int64_t position = 0;
    while (auto member = NextMember(alias, position)) members.push_back(*std::move(member));
    return members;
}

}  // namespace host::stores
