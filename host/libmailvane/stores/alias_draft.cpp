// Changes of the aliases that are not stored yet.
#include "host/libmailvane/stores/alias_draft.h"

#include <vector>

#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/alias_names.h"

namespace host::stores {
namespace {

/// Other temporary tables: `touched` has the stored aliases that differ in the draft, `came` those
/// that a file has named, `doubtful` the ones that may have a member twice.
constexpr char kOtherTables[] =
    "CREATE TEMP TABLE touched (id INTEGER PRIMARY KEY);"
    "CREATE TEMP TABLE moved (name TEXT PRIMARY KEY COLLATE NOCASE, new_name TEXT) WITHOUT ROWID;"
    "CREATE TEMP TABLE came (id INTEGER PRIMARY KEY);"
    "CREATE TEMP TABLE doubtful (id INTEGER PRIMARY KEY)";

/// Statements that make the same tables again as temporary ones.
constexpr char kSameTables[] =
    "SELECT 'CREATE TEMP' || substr(sql, length('CREATE ')) FROM main.sqlite_schema"
    " WHERE type = 'table' AND name IN ('alias', 'member')";

// Whole tables of the same form are copied by pages, which is many times faster.
constexpr char kCopy[] =
    "INSERT INTO temp.alias SELECT * FROM main.alias;"
    "INSERT INTO temp.member SELECT * FROM main.member";
constexpr char kStoreAll[] =
    "DELETE FROM main.member;"
    "DELETE FROM main.alias;"
    "INSERT INTO main.alias SELECT * FROM temp.alias;"
    "INSERT INTO main.member SELECT * FROM temp.member";
constexpr char kStoreDifference[] =
    "DELETE FROM main.member WHERE alias IN (SELECT id FROM touched);"
    "DELETE FROM main.alias WHERE id IN (SELECT id FROM touched);"
    "INSERT INTO main.alias SELECT * FROM temp.alias WHERE id IN (SELECT id FROM touched);"
    "INSERT INTO main.member SELECT * FROM temp.member WHERE alias IN (SELECT id FROM touched)";

constexpr char kResolveBareNames[] =
    "UPDATE member SET (name, type) ="
    " (SELECT ifnull(known.name, member.name), iif(known.id IS NULL, ?, ?)"
    " FROM (SELECT 1) LEFT JOIN alias AS known ON known.name = member.name) WHERE type < 0";

/// Of those that an alias has twice, the first stays.
constexpr char kRemoveDoubles[] =
    "DELETE FROM member WHERE (alias, position) IN (SELECT alias, position FROM"
    " (SELECT alias, position, row_number() OVER"
    " (PARTITION BY alias, type, name ORDER BY position) AS copy"
    " FROM member WHERE alias IN (SELECT id FROM doubtful)) WHERE copy > 1)";

constexpr char kForgetFile[] =
    "INSERT OR IGNORE INTO touched SELECT id FROM came;"
    "DELETE FROM came;"
    "DELETE FROM doubtful";

constexpr std::size_t kMostSeen = 1000;

std::int64_t NumberOf(SQLite::Database& database, const char* sql)
{
    return database.execAndGet(sql).getInt64();
}

/// Runs a prepared statement with these parameters; the number of rows that it changed.
template <typename... Values>
int RunAgain(SQLite::Statement& statement, const Values&... values)
{
    int parameter = 0;
    statement.reset();
    (statement.bind(++parameter, values), ...);
    return statement.exec();
}

template <typename... Values>
int Run(SQLite::Database& database, const char* sql, const Values&... values)
{
    SQLite::Statement statement(database, sql);
    return RunAgain(statement, values...);
}

std::vector<std::string> Texts(SQLite::Database& database, const char* sql)
{
    SQLite::Statement rows(database, sql);
    std::vector<std::string> texts;
    while (rows.executeStep()) texts.push_back(rows.getColumn(0).getString());
    return texts;
}

}  // namespace

AliasDraft::AliasDraft(SQLite::Database& database)
    : database_(database),
      version_(NumberOf(database, "PRAGMA main.data_version")),
      firstNewId_(NumberOf(database, "SELECT ifnull(max(id), 0) + 1 FROM main.alias")),
      nextId_(firstNewId_)
{
    database_.exec("PRAGMA query_only = 0");           // until `Store`, for temporary tables alone
    database_.exec("PRAGMA temp.cache_size = -8192");  // KiB
    for (const std::string& table : Texts(database_, kSameTables)) database_.exec(table);
    database_.exec(kOtherTables);
    database_.exec(kCopy);
}

void AliasDraft::Touch(std::int64_t alias)
{
    (void)Run(database_, "INSERT OR IGNORE INTO touched VALUES (?)", alias);
}

std::int64_t AliasDraft::Add(const std::string& name)
{
    const std::int64_t alias = NewId();
    (void)Run(database_, "INSERT INTO alias VALUES (?, ?)", alias, name);
    return alias;
}

void AliasDraft::Remove(std::int64_t alias)
{
    Touch(alias);
    (void)Run(database_, "DELETE FROM member WHERE alias = ?", alias);
    (void)Run(database_, "DELETE FROM alias WHERE id = ?", alias);
}

void AliasDraft::Rename(std::int64_t alias, const std::string& name)
{
    Touch(alias);
    (void)Run(database_, "UPDATE alias SET name = ? WHERE id = ?", name, alias);
}

void AliasDraft::AddMember(std::int64_t alias, const MemberInfo& member)
{
    Touch(alias);
    (void)Run(database_,
              "INSERT INTO member SELECT ?1, ifnull(max(position), -1) + 1, ?2, ?3"
              " FROM member WHERE alias = ?1",
              alias, member.name, member.type);
}

void AliasDraft::RemoveMember(std::int64_t alias, const MemberInfo& member)
{
    Touch(alias);
    (void)Run(database_, "DELETE FROM member WHERE alias = ? AND name = ? AND type = ?", alias,
              member.name, member.type);
}

void AliasDraft::Follow(const std::map<std::string, std::string>& newNames)
{
    for (const auto& [old, now] : newNames) {
        (void)Run(database_, "INSERT OR REPLACE INTO moved VALUES (?, ?)", old, now);
    }
    (void)Run(database_,
              "INSERT OR IGNORE INTO touched SELECT alias FROM member"
              " WHERE type = ? AND name COLLATE NOCASE IN (SELECT name FROM moved)",
              names::kAliasMember);
    (void)Run(database_,
              "UPDATE member SET name = (SELECT new_name FROM moved"
              " WHERE moved.name = member.name COLLATE NOCASE)"
              " WHERE type = ? AND name COLLATE NOCASE IN (SELECT name FROM moved)",
              names::kAliasMember);
    database_.exec("DELETE FROM member WHERE name = ''; DELETE FROM moved");
}

Result<void> AliasDraft::Store()
{
    if (NumberOf(database_, "PRAGMA main.data_version") != version_) {
        return Reason{ReasonCode::kBusy, "", "others have changed the aliases meanwhile"};
    }
    (void)Run(database_, "INSERT OR IGNORE INTO touched SELECT id FROM alias WHERE id >= ?",
              firstNewId_);
    const bool areMost = NumberOf(database_,
                                  "SELECT (SELECT count(*) FROM touched) * 2"
                                  " > (SELECT count(*) FROM alias)") != 0;
    database_.exec(areMost ? kStoreAll : kStoreDifference);
    return {};
}

IncomingAliases::IncomingAliases(SQLite::Database& database, AliasDraft& draft)
    : database_(database),
      draft_(draft),
      transaction_(database),
      known_(database),
      add_(database, "INSERT OR IGNORE INTO alias VALUES (?, ?)"),
      came_(database, "INSERT OR IGNORE INTO came VALUES (?)"),
      empty_(database, "DELETE FROM member WHERE alias = ?"),
      member_(database, "INSERT INTO member VALUES (?, ?, ?, ?)"),
      doubtful_(database, "INSERT OR IGNORE INTO doubtful VALUES (?)"),
      firstId_(draft.NewId())
{
}

bool IncomingAliases::Begin(const std::string& name)
{
    seen_.clear();
    position_ = 0;
    alias_ = draft_.NewId();
    if (RunAgain(add_, alias_, name) == 0) {
        const std::int64_t known = known_.Find(name)->id;
        const bool cameAlready = known > firstId_ || RunAgain(came_, known) == 0;
        alias_ = cameAlready ? 0 : known;
        if (cameAlready) return false;
        (void)RunAgain(empty_, known);
    }
    ++count_;
    return true;
}

bool IncomingAliases::MayHave(const MemberInfo& member)
{
    return seen_.size() == kMostSeen || !seen_.insert(InLowerCase(member.name)).second;
}

void IncomingAliases::AddMember(const MemberInfo& member)
{
    if (alias_ == 0) return;
    if (MayHave(member)) (void)RunAgain(doubtful_, alias_);
    if (member.type < 0) hasBareNames_ = true;
    (void)RunAgain(member_, alias_, position_++, member.name, member.type);
}

int IncomingAliases::Finish()
{
    if (hasBareNames_) {
        (void)Run(database_, kResolveBareNames, names::kUserMember, names::kAliasMember);
    }
    database_.exec(kRemoveDoubles);
    database_.exec(kForgetFile);
    transaction_.commit();
    return count_;
}

}  // namespace host::stores
