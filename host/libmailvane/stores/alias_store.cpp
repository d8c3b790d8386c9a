// The aliases in etc/alias.db.
#include "host/libmailvane/stores/alias_store.h"

#include "host/libmailvane/stores/account_databases.h"

namespace host::stores {
namespace {

void Remove(SQLite::Database& database, const std::vector<std::int64_t>& ids)
{
    SQLite::Statement alias(database, "DELETE FROM alias WHERE id = ?");
    SQLite::Statement members(database, "DELETE FROM member WHERE alias = ?");
    for (const std::int64_t id : ids) {
        for (SQLite::Statement* statement : {&alias, &members}) {
            statement->bind(1, id);
            statement->exec();
            statement->reset();
        }
    }
}

void AddMembers(SQLite::Statement& insert, const AliasEntry& entry)
{
    int position = 0;
    for (const MemberInfo& member : entry.members) {
        insert.bind(1, entry.id);
        insert.bind(2, position++);
        insert.bindNoCopy(3, member.name);
        insert.bind(4, member.type);
        insert.exec();
        insert.reset();
    }
}

void Add(SQLite::Database& database, const std::vector<const AliasEntry*>& entries)
{
    SQLite::Statement alias(database, "INSERT INTO alias (id, name) VALUES (?, ?)");
    SQLite::Statement member(
        database, "INSERT INTO member (alias, position, name, type) VALUES (?, ?, ?, ?)");
    for (const AliasEntry* entry : entries) {
        alias.bind(1, entry->id);
        alias.bindNoCopy(2, entry->name);
        alias.exec();
        alias.reset();
        AddMembers(member, *entry);
    }
}

/// Reads the members of the aliases; both are sorted by the alias's id.
void ReadMembers(SQLite::Database& database, AliasEntries& entries)
{
    SQLite::Statement members(database,
                              "SELECT alias, name, type FROM member ORDER BY alias, position");
    auto entry = entries.begin();
    while (members.executeStep()) {
        const std::int64_t owner = members.getColumn(0).getInt64();
        while (entry != entries.end() && entry->id < owner) ++entry;
        if (entry == entries.end() || entry->id != owner) continue;

        MemberInfo member;
        member.name = members.getColumn(1).getText();
        member.type = members.getColumn(2).getInt();
        entry->members.push_back(std::move(member));
    }
}

}  // namespace

AliasEntries AliasesIn(SQLite::Database& database)
{
    AliasEntries entries;
    SQLite::Statement aliases(database, "SELECT id, name FROM alias ORDER BY id");
    while (aliases.executeStep()) {
        entries.push_back({aliases.getColumn(0).getInt64(), aliases.getColumn(1).getText(), {}});
    }
    ReadMembers(database, entries);
    return entries;
}

Result<AliasEntries> ReadAliases()
{
    auto database = ReadAccountDatabase(AccountDatabase::kAlias).Prefixed("aliases: ");
    if (!database) return std::move(database).reason();
    return system::Attempt("aliases", [&database] {
        const SQLite::Transaction oneState(*database);
        return AliasesIn(*database);
    });
}

void ChangeAliases(SQLite::Database& database, const AliasChange& change)
{
    Remove(database, change.removed);
    Add(database, change.added);
}

}  // namespace host::stores
