// SQLite stores of the service library.
#include "host/libmailvane/system/database.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <stdexcept>

#include "host/libmailvane/system/durable_move.h"

namespace host::system {
namespace {

constexpr int kBusyTimeoutMs = 10000;

int StoredVersion(SQLite::Database& database)
{
    return database.execAndGet("PRAGMA user_version").getInt();
}

/// Makes an empty store that nobody else can read; SQLite gives its journals the same mode.
void CreateIfMissing(const std::string& path)
{
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (descriptor >= 0) ::close(descriptor);
}

/// Runs the scripts that are missing, all or none. The version is read again under the lock, since
/// another process may have done the same meanwhile.
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

/// Whether the store has to be brought up to date.
bool IsOlder(SQLite::Database& database, const Schema& schema)
{
    const int version = StoredVersion(database);
    if (version > schema.version) {
        throw std::runtime_error(database.getFilename() + " has the unknown version " +
                                 std::to_string(version));
    }
    return version < schema.version;
}

/// The scripts of all tables, indexes, views and triggers.
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

void BringUpToDate(SQLite::Database& database, const Schema& schema)
{
    if (IsOlder(database, schema)) Migrate(database, schema);
}

bool IsMadeBy(SQLite::Database& database, const Schema& schema)
{
    SQLite::Database model(":memory:", SQLite::OPEN_READWRITE);
    BringUpToDate(model, schema);
    return TablesOf(database) == TablesOf(model);
}

SQLite::Database OpenForChange(const std::string& path, const Schema& schema)
{
    CreateIfMissing(path);
    SQLite::Database database(path, SQLite::OPEN_READWRITE, kBusyTimeoutMs);
    DistrustSchema(database);
    database.exec("PRAGMA journal_mode = DELETE");
    BringUpToDate(database, schema);
    return database;
}

std::optional<SQLite::Database> OpenForReading(const std::string& path, const Schema& schema)
{
    std::optional<SQLite::Database> database = OpenAsItIs(path);
    if (!database || !IsOlder(*database, schema)) return database;

    database.reset();
    (void)OpenForChange(path, schema);
    return OpenAsItIs(path);
}

std::optional<SQLite::Database> OpenAsItIs(const std::string& path)
{
    try {
        // Not opened read-only: SQLite could not roll back a killed writer's journal then.
        SQLite::Database database(path, SQLite::OPEN_READWRITE, kBusyTimeoutMs);
        DistrustSchema(database);
        database.exec("PRAGMA query_only = 1");
        return database;
    } catch (const SQLite::Exception&) {
        if (!NameExists(path)) return std::nullopt;
        throw;
    }
}

}  // namespace host::system
