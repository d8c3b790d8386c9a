// Changes of the aliases that are not stored yet.
#include "host/libmailvane/stores/alias_draft.h"

#include <vector>

#include "host/libmailvane/names/alias_names.h"

namespace host::stores {
namespace {

/// `gone` has the ids of stored aliases that are removed, or stand in the draft as they are to be.
constexpr char kDraftTables[] =
    "PRAGMA query_only = 0;"           // nothing but temporary tables is written
    "PRAGMA temp.cache_size = -8192;"  // KiB
    "CREATE TEMP TABLE gone (id INTEGER PRIMARY KEY);"
    "CREATE TEMP TABLE new_alias (id INTEGER PRIMARY KEY,"
    " name TEXT NOT NULL UNIQUE COLLATE NOCASE);"
    "CREATE TEMP TABLE new_member (alias INTEGER, position INTEGER, name TEXT, type INTEGER,"
    " PRIMARY KEY (alias, position)) WITHOUT ROWID;"
    "CREATE TEMP TABLE moved (name TEXT PRIMARY KEY COLLATE NOCASE, new_name TEXT) WITHOUT ROWID;"
    "CREATE TEMP VIEW alias AS SELECT id, name FROM main.alias AS stored"
    " WHERE NOT EXISTS (SELECT 1 FROM gone WHERE gone.id = stored.id)"
    " UNION ALL SELECT id, name FROM new_alias;"
    "CREATE TEMP VIEW member AS SELECT alias, position, name, type FROM main.member AS stored"
    " WHERE NOT EXISTS (SELECT 1 FROM gone WHERE gone.id = stored.alias)"
    " UNION ALL SELECT alias, position, name, type FROM new_member;"
    "CREATE TEMP TABLE incoming (id INTEGER PRIMARY KEY, name TEXT UNIQUE COLLATE NOCASE);"
    "CREATE TEMP TABLE incoming_member (alias INTEGER, position INTEGER, name TEXT, type INTEGER,"
    " PRIMARY KEY (alias, position)) WITHOUT ROWID";

constexpr char kMoveAliases[] =
    "INSERT OR IGNORE INTO gone SELECT id FROM incoming"
    " WHERE EXISTS (SELECT 1 FROM main.alias AS stored WHERE stored.id = incoming.id);"
    "DELETE FROM new_member WHERE alias IN (SELECT id FROM incoming);"
    "DELETE FROM new_alias WHERE id IN (SELECT id FROM incoming);"
    "INSERT INTO new_alias SELECT id, name FROM incoming";

constexpr char kResolveAliases[] =
    "UPDATE incoming_member SET type = ?, name = (SELECT known.name FROM alias AS known"
    " WHERE known.name = incoming_member.name COLLATE NOCASE)"
    " WHERE type < 0 AND EXISTS (SELECT 1 FROM alias AS known"
    " WHERE known.name = incoming_member.name COLLATE NOCASE)";

/// Of those that an alias has twice, the first stays.
constexpr char kMoveMembers[] =
    "INSERT INTO new_member SELECT alias, min(position), name, type FROM incoming_member"
    " GROUP BY alias, type, name;"
    "DELETE FROM incoming_member;"
    "DELETE FROM incoming";

/// Runs a statement with these parameters; the number of rows that it changed.
template <typename... Values>
int Run(SQLite::Database& database, const char* sql, const Values&... values)
{
    SQLite::Statement statement(database, sql);
    int parameter = 0;
    (statement.bind(++parameter, values), ...);
    return statement.exec();
}

void Bind(SQLite::Statement& statement, int parameter, const SQLite::Column& value)
{
    if (value.isInteger()) {
        statement.bind(parameter, value.getInt64());
    } else {
        statement.bind(parameter, value.getString());
    }
}

/// Runs a statement for each row of a query, whose columns are its parameters.
void RunForEach(SQLite::Database& from, const char* query, SQLite::Database& into, const char* sql)
{
    SQLite::Statement rows(from, query);
    SQLite::Statement statement(into, sql);
    while (rows.executeStep()) {
        for (int column = 0; column < rows.getColumnCount(); ++column) {
            Bind(statement, column + 1, rows.getColumn(column));
        }
        (void)statement.exec();
        statement.reset();
    }
}

}  // namespace

AliasDraft::AliasDraft(SQLite::Database& database) : database_(database), nextId_(0)
{
    database_.exec(kDraftTables);
    nextId_ = database_.execAndGet("SELECT ifnull(max(id), 0) + 1 FROM main.alias").getInt64();
}

void AliasDraft::Touch(std::int64_t alias)
{
    constexpr char kGone[] =
        "INSERT OR IGNORE INTO gone SELECT id FROM main.alias WHERE main.alias.id = ?";
    if (Run(database_, kGone, alias) == 0) return;

    (void)Run(database_, "INSERT INTO new_alias SELECT id, name FROM main.alias WHERE id = ?",
              alias);
    (void)Run(database_,
              "INSERT INTO new_member SELECT alias, position, name, type FROM main.member"
              " WHERE alias = ?",
              alias);
}

std::int64_t AliasDraft::Add(const std::string& name)
{
    const std::int64_t alias = nextId_++;
    (void)Run(database_, "INSERT INTO new_alias VALUES (?, ?)", alias, name);
    return alias;
}

void AliasDraft::Remove(std::int64_t alias)
{
    Touch(alias);
    (void)Run(database_, "DELETE FROM new_member WHERE alias = ?", alias);
    (void)Run(database_, "DELETE FROM new_alias WHERE id = ?", alias);
}

void AliasDraft::Rename(std::int64_t alias, const std::string& name)
{
    Touch(alias);
    (void)Run(database_, "UPDATE new_alias SET name = ? WHERE id = ?", name, alias);
}

void AliasDraft::AddMember(std::int64_t alias, const MemberInfo& member)
{
    Touch(alias);
    (void)Run(database_,
              "INSERT INTO new_member SELECT ?1, ifnull(max(position), -1) + 1, ?2, ?3"
              " FROM new_member WHERE alias = ?1",
              alias, member.name, member.type);
}

void AliasDraft::RemoveMember(std::int64_t alias, const MemberInfo& member)
{
    Touch(alias);
    (void)Run(database_, "DELETE FROM new_member WHERE alias = ? AND name = ? AND type = ?", alias,
              member.name, member.type);
}

void AliasDraft::Follow(const std::map<std::string, std::string>& newNames)
{
    for (const auto& [old, now] : newNames) {
        (void)Run(database_, "INSERT OR REPLACE INTO moved VALUES (?, ?)", old, now);
    }
    SQLite::Statement owners(database_,
                             "SELECT DISTINCT alias FROM member WHERE type = ?"
                             " AND name COLLATE NOCASE IN (SELECT name FROM moved)");
    owners.bind(1, names::kAliasMember);
    std::vector<std::int64_t> affected;
    while (owners.executeStep()) affected.push_back(owners.getColumn(0).getInt64());
    for (const std::int64_t alias : affected) Touch(alias);
    (void)Run(database_,
              "UPDATE new_member SET name = (SELECT new_name FROM moved"
              " WHERE moved.name = new_member.name COLLATE NOCASE)"
              " WHERE type = ? AND name COLLATE NOCASE IN (SELECT name FROM moved)",
              names::kAliasMember);
    database_.exec("DELETE FROM new_member WHERE name = ''; DELETE FROM moved");
}

void AliasDraft::StoreInto(SQLite::Database& store)
{
    constexpr char kGone[] = "SELECT id FROM gone";
    RunForEach(database_, kGone, store, "DELETE FROM alias WHERE id = ?");
    RunForEach(database_, kGone, store, "DELETE FROM member WHERE alias = ?");
    RunForEach(database_, "SELECT id, name FROM new_alias", store,
               "INSERT INTO alias (id, name) VALUES (?, ?)");
    RunForEach(database_, "SELECT alias, position, name, type FROM new_member", store,
               "INSERT INTO member (alias, position, name, type) VALUES (?, ?, ?, ?)");
}

IncomingAliases::IncomingAliases(SQLite::Database& database, AliasDraft& draft)
    : database_(database),
      draft_(draft),
      transaction_(database),
      known_(database),
      begin_(database, "INSERT OR IGNORE INTO incoming VALUES (?, ?)"),
      member_(database, "INSERT INTO incoming_member VALUES (?, ?, ?, ?)")
{
}

bool IncomingAliases::Begin(const std::string& name)
{
    const auto known = known_.Find(name);
    alias_ = known ? known->id : draft_.NewId();
    begin_.reset();
    begin_.bind(1, alias_);
    begin_.bind(2, known ? known->name : name);
    return begin_.exec() > 0;
}

void IncomingAliases::AddMember(const MemberInfo& member)
{
    member_.reset();
    member_.bind(1, alias_);
    member_.bind(2, position_++);
    member_.bind(3, member.name);
    member_.bind(4, member.type);
    (void)member_.exec();
}

int IncomingAliases::MoveIn()
{
    const int count = database_.execAndGet("SELECT count(*) FROM incoming").getInt();
    database_.exec(kMoveAliases);
    (void)Run(database_, kResolveAliases, names::kAliasMember);
    (void)Run(database_, "UPDATE incoming_member SET type = ? WHERE type < 0", names::kUserMember);
    database_.exec(kMoveMembers);
    transaction_.commit();
    return count;
}

}  // namespace host::stores
