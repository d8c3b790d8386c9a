// The mail log's database: its tables, and the paths of the current one and older months.
#include "host/libmailvane/maillog/schema.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <ctime>
#include <stdexcept>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/maillog/tables.h"

namespace host::maillog {
namespace {

constexpr int kBusyTimeoutMs = 10000;
constexpr char kLogOfAll[] = "/var/log/mailvane/all_machines";

constexpr const char* kScripts[] = {kEntries, kCollector, kTimeOfPosition, kCounts};

/// An empty file, changed when the log was last cleared.
std::string ClearedPath()
{
    return MailLogLiveFolder() + "/cleared";
}

Result<void> NoteClearing()
{
    const std::string path = ClearedPath();
    const Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0640));
    if (!file || ::futimens(file.get(), nullptr) < 0 || ::fsync(file.get()) < 0) {
        return Reason{ReasonCode::kSystem, path, "cannot change " + path + ": " + ErrnoText()};
    }
    return {};
}

}  // namespace

std::string MailLogFolder()
{
    return PackagePath("target/etc/maillog");
}

std::string MailLogLiveFolder()
{
    return PackagePath("target/etc/maillog.live");
}

std::string MailLogLivePath()
{
    return MailLogLiveFolder() + "/maillog.db";
}

bool ReadsAllMachines()
{
    const auto defaults = KeyValueFile::Read(Path("/etc/default/mailvane"));
    return defaults && defaults->Get("MAILVANE_MAIL_LOG") == "all";
}

std::string CollectedLogPath()
{
    return Path(ReadsAllMachines() ? kLogOfAll : kPostfixLog);
}

std::vector<std::string> MonthPaths(std::int64_t time)
{
    constexpr int kMostOfAMonth = 9;
    const auto seconds = static_cast<std::time_t>(time);
    std::tm parts{};
    (void)localtime_r(&seconds, &parts);
    char month[16];
    (void)std::strftime(month, sizeof month, "/%Y-%m", &parts);
    const std::string name = MailLogFolder() + month;

    std::vector<std::string> paths{name + ".db"};
    for (int number = 2; number <= kMostOfAMonth; ++number) {
        paths.push_back(name + "-" + std::to_string(number) + ".db");
    }
    return paths;
}

std::int64_t ClearedAt()
{
    struct stat status {};
    return ::lstat(ClearedPath().c_str(), &status) == 0 ? std::int64_t{status.st_mtime} : 0;
}

std::int64_t LatestDate(SQLite::Database& database)
{
    SQLite::Statement latest(database, "SELECT coalesce(max(date), 0) FROM entry WHERE date <= ?");
    latest.bind(1, static_cast<std::int64_t>(std::time(nullptr)));
    (void)latest.executeStep();
    return latest.getColumn(0).getInt64();
}

const system::Schema& MailLogSchema()
{
    static constexpr system::Schema schema(kScripts);
    return schema;
}

Result<SQLite::Database> OpenMailLogForChange(const std::string& path)
{
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0640);
    if (descriptor >= 0) ::close(descriptor);

    SQLite::Database database(path, SQLite::OPEN_READWRITE | SQLite::OPEN_NOMUTEX, kBusyTimeoutMs);
    database.exec("PRAGMA journal_mode = WAL");
    // A power failure may lose the last transactions with their log position; the lines are then
    // read again.
    database.exec("PRAGMA synchronous = NORMAL");
    Result<void> done = system::BringUpToDate(database, MailLogSchema());
    if (!done) return std::move(done).reason();
    return database;
}

namespace {

/// Makes the collector continue at the present end of the log and forget unfinished messages.
Result<void> SkipLog(SQLite::Database& database)
{
    struct stat status {};
    const bool known = ::stat(CollectedLogPath().c_str(), &status) == 0;
    SQLite::Statement skip(
        database,
        "UPDATE position SET clearings = clearings + 1, inode = iif(?1, ?2, "
        "inode), offset = iif(?1, ?3, offset), head = iif(?1, 0, head), time = ?4");
    skip.bind(1, known ? 1 : 0);
    skip.bind(2, static_cast<std::int64_t>(status.st_ino));
    skip.bind(3, static_cast<std::int64_t>(status.st_size));
    skip.bind(4, static_cast<std::int64_t>(std::time(nullptr)));
    // Without a position this database is being closed as a past month; the caller is to clear the
    // new one.
    if (skip.exec() != 0) return {};
    return Reason{ReasonCode::kBusy, "mail log", "mail log: the month is being closed"};
}

}  // namespace

Result<void> ClearMailLog(SQLite::Database& database)
{
    Result<void> noted = NoteClearing();
    if (!noted) return noted;
    database.exec("PRAGMA secure_delete = ON");
    SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
    // Tables are dropped and created again, since deleting a large log row by row would take
    // minutes.
    database.exec(
        "DROP TABLE entry; DROP TABLE entry_text; DROP TABLE tally; DROP TABLE totals;"
        "DROP TABLE counts; DROP VIEW share; DELETE FROM message;");
    database.exec(kEntries);
    database.exec(kCounts);
    Result<void> skipped = SkipLog(database);
    if (!skipped) return skipped;
    transaction.commit();

    // Frees the space of the entries, which are deleted by now.
    database.tryExec("VACUUM");
    database.tryExec("PRAGMA wal_checkpoint (TRUNCATE)");
    return {};
}

}  // namespace host::maillog
