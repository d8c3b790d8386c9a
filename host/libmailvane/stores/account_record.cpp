// The account combination that a database belongs to.
#include "host/libmailvane/stores/account_record.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <array>
#include <cstdint>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/hash.h"
#include "host/libmailvane/system/durable_move.h"

namespace host::stores {
namespace {

/// Offset of SQLite's application id in the file: four bytes, big-endian.
constexpr off_t kStampOffset = 68;

/// A hash of type, a zero byte and domain. Never 0, the value in a database without a stamp.
uint32_t StampOf(const settings::AccountCombination& combination)
{
    const std::uint32_t hash = Fnv32(combination.type + '\0' + combination.domain);
    return hash == 0 ? 1 : hash;
}

bool MeansUnusable(const SQLite::Exception& failure)
{
    const int code = failure.getErrorCode();
    return code == SQLITE_CORRUPT || code == SQLITE_NOTADB || code == SQLITE_ERROR;
}

bool IsWhole(SQLite::Database& database)
{
    SQLite::Statement check(database, "PRAGMA quick_check(1)");
    return check.executeStep() && check.getColumn(0).getString() == "ok";
}

std::optional<settings::AccountCombination> ReadRecord(SQLite::Database& database)
{
    if (!IsWhole(database) || !database.tableExists("account")) return std::nullopt;

    SQLite::Statement query(database, "SELECT type, domain FROM account");
    if (!query.executeStep()) return std::nullopt;
    return settings::AccountCombination{query.getColumn(0).getString(),
                                        query.getColumn(1).getString()};
}

}  // namespace

bool CarriesStamp(const std::string& path, const settings::AccountCombination& combination)
{
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file) return false;
    std::array<unsigned char, 4> bytes{};
    const ssize_t count = ::pread(file.get(), bytes.data(), bytes.size(), kStampOffset);
    if (count != static_cast<ssize_t>(bytes.size())) return false;

    uint32_t stamp = 0;
    for (const unsigned char byte : bytes) stamp = (stamp << 8) | byte;
    return stamp == StampOf(combination);
}

Result<std::optional<settings::AccountCombination>> RecordedCombination(const std::string& path)
{
    const std::optional<settings::AccountCombination> none;
    auto database = system::OpenAsItIs(path);
    if (!database) return std::move(database).reason();
    try {
        return *database ? ReadRecord(**database) : none;
    } catch (const SQLite::Exception& failure) {
        if (MeansUnusable(failure)) return none;
        return system::ReasonOf(failure, path);
    }
}

Result<void> CreateAccountDatabase(const std::string& path, const system::Schema& schema,
                                   const settings::AccountCombination& combination)
{
    const std::string unfinished = path + ".new";
    for (const std::string& left : {unfinished + "-journal", unfinished}) {
        Result<void> removed = system::RemoveDurably(left);
        if (!removed) return removed;
    }
    {
        Result<SQLite::Database> database = system::OpenForChange(unfinished, schema);
        if (!database) return std::move(database).reason();
        SQLite::Statement insert(*database, "INSERT INTO account (type, domain) VALUES (?, ?)");
        insert.bind(1, combination.type);
        insert.bind(2, combination.domain);
        insert.exec();
    }
    return system::MoveDurably(unfinished, path);
}

Result<void> RecordCombination(const std::string& path, const system::Schema& schema,
                               const settings::AccountCombination& combination)
{
    Result<SQLite::Database> database = system::OpenForChange(path, schema);
    if (!database) return std::move(database).reason();
    SQLite::Statement update(*database, "UPDATE account SET type = ?, domain = ?");
    update.bind(1, combination.type);
    update.bind(2, combination.domain);
    update.exec();
    return {};
}

Result<void> Stamp(const std::string& path, const system::Schema& schema,
                   const settings::AccountCombination& combination)
{
    const auto stamp = static_cast<int32_t>(StampOf(combination));
    Result<SQLite::Database> database = system::OpenForChange(path, schema);
    if (!database) return std::move(database).reason();
    database->exec("PRAGMA application_id = " + std::to_string(stamp));
    return {};
}

}  // namespace host::stores
