// SQLite databases of the library.
#include "host/libmailvane/system/database.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include "host/libmailvane/system/durable_move.h"

namespace host::system {
namespace {

constexpr int kBusyTimeoutMs = 10000;

/// No program of the package has threads, for which SQLite would lock each column that is read.
constexpr int kMode = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX;

int StoredVersion(SQLite::Database& database)
{
    return database.execAndGet("PRAGMA user_version").getInt();
}

/// Creates an empty file with mode 0600. SQLite gives its journals the same mode.
void CreateIfMissing(const std::string& path)
{
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (descriptor >= 0) ::close(descriptor);
}

/// Runs the missing scripts, all or none. Reads the version again inside the transaction: another
/// process may have run them since.
void Migrate(SQLite::Database& database, const Schema& schema)
{
    SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
    const int found = StoredVersion(database);
    if (found >= schema.version) return;

    for (int version = found; version < schema.version; ++version) {
        database.exec(schema.scripts[version]);
    }
    database.exec("PRAGMA user_version = " + std::to_string(schema.version));
    transaction.commit();
}

/// Whether the store is of an older version.
Result<bool> IsOlder(SQLite::Database& database, const Schema& schema)
{
    const int version = StoredVersion(database);
    if (version <= schema.version) return version < schema.version;
    return Reason{ReasonCode::kDamaged, database.getFilename(),
                  database.getFilename() + " has the unknown version " + std::to_string(version)};
}

void AllowNoChange(SQLite::Database& database)
{
    database.exec("PRAGMA query_only = 1");
}

Result<SQLite::Database> EmptyStore(const Schema& schema)
{
    SQLite::Database database(":memory:", kMode);
    Result<void> done = BringUpToDate(database, schema);
    if (!done) return std::move(done).reason();
    AllowNoChange(database);
    return database;
}

/// The SQL of all tables, indexes, views and triggers.
std::string TablesOf(SQLite::Database& database)
{
    SQLite::Statement rows(database,
                           "SELECT type, name, tbl_name, sql FROM sqlite_schema ORDER BY 1, 2");
    std::string text;
    while (rows.executeStep()) {
        for (int column = 0; column < rows.getColumnCount(); ++column) {
            text.append(rows.getColumn(column).getString()).append("\n");
        }
    }
    return text;
}

ReasonCode CodeOf(int sqliteCode)
{
    switch (sqliteCode) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return ReasonCode::kBusy;
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
            return ReasonCode::kDamaged;
        case SQLITE_FULL:
            return ReasonCode::kNoSpace;
        case SQLITE_CANTOPEN:
        case SQLITE_PERM:
            return ReasonCode::kUnreadable;
        default:
            return ReasonCode::kSystem;
    }
}

}  // namespace

Reason ReasonOf(const std::exception& failure, const std::string& what)
{
    const auto* fromStore = dynamic_cast<const SQLite::Exception*>(&failure);
    const ReasonCode code =
        fromStore == nullptr ? ReasonCode::kSystem : CodeOf(fromStore->getErrorCode());
    return {code, what, what + ": " + failure.what()};
}

void DistrustSchema(SQLite::Database& database)
{
    database.exec("PRAGMA trusted_schema = OFF");
}

Result<void> BringUpToDate(SQLite::Database& database, const Schema& schema)
{
    const Result<bool> older = IsOlder(database, schema);
    if (!older) return older.reason();
    if (*older) Migrate(database, schema);
    return {};
}

Result<bool> IsMadeBy(SQLite::Database& database, const Schema& schema)
{
    auto model = EmptyStore(schema);
    if (!model) return std::move(model).reason();
    return TablesOf(database) == TablesOf(*model);
}

Result<SQLite::Database> OpenForChange(const std::string& path, const Schema& schema)
{
    CreateIfMissing(path);
    return Attempt(path, [&]() -> Result<SQLite::Database> {
        SQLite::Database database(path, kMode, kBusyTimeoutMs);
        DistrustSchema(database);
        database.exec("PRAGMA journal_mode = DELETE");
        Result<void> done = BringUpToDate(database, schema);
        if (!done) return std::move(done).reason();
        return database;
    });
}

Result<SQLite::Database> OpenForReading(const std::string& path, const Schema& schema)
{
    return Attempt(path, [&]() -> Result<SQLite::Database> {
        {
            auto found = OpenAsItIs(path);
            if (!found) return std::move(found).reason();
            if (!*found) return EmptyStore(schema);

            const Result<bool> older = IsOlder(**found, schema);
            if (!older) return older.reason();
            if (!*older) return std::move(**found);
        }
        Result<SQLite::Database> current = OpenForChange(path, schema);
        if (current) AllowNoChange(*current);
        return current;
    });
}

bool IsInPlace(SQLite::Database& database)
{
    int hasMoved = 0;
    const int result =
        sqlite3_file_control(database.getHandle(), "main", SQLITE_FCNTL_HAS_MOVED, &hasMoved);
    return result == SQLITE_OK && hasMoved == 0;  // one in memory has no file
}

Result<void> SettleJournal(const std::string& path)
{
    const std::string journal = path + "-journal";
    if (!NameExists(path) || !NameExists(journal)) return {};
    return Attempt(path, [&]() -> Result<void> {
        SQLite::Database database(path, kMode, kBusyTimeoutMs);
        DistrustSchema(database);
        const SQLite::Transaction alone(database, SQLite::TransactionBehavior::EXCLUSIVE);
        return RemoveDurably(journal);
    });
}

Result<std::optional<SQLite::Database>> OpenAsItIs(const std::string& path)
{
    // Not opened read-only, since SQLite could not roll back the journal of a killed writer then.
    auto opened = Attempt(path, [&path]() -> std::optional<SQLite::Database> {
        SQLite::Database database(path, kMode, kBusyTimeoutMs);
        DistrustSchema(database);
        AllowNoChange(database);
        return database;
    });
    if (!opened && !NameExists(path)) return std::optional<SQLite::Database>();
    return opened;
}

}  // namespace host::system
