// Closing a month: its entries are moved to a database of their own.
//
// One transaction over both files moves the log position and what else continues from the current
// database to its successor. So a current database without a position is a closed month with a
// complete successor beside it. With a position, the successor is an incomplete one and is removed.
#include "tools/maillog_collector/month_closing.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <dirent.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

#include "host/libhaldcore/log.h"
#include "host/libhaldcore/text.h"
#include "host/libmailvane/maillog/entry_batch.h"
#include "host/libmailvane/maillog/schema.h"
#include "host/libmailvane/system/database.h"
#include "host/libmailvane/system/durable_move.h"

namespace collector {
namespace {

constexpr std::size_t kMonthsKept = 12;
constexpr std::int64_t kTotalsKept = 400 * 86400LL;  // seconds
constexpr int kPatienceMs = 1000;

constexpr char kCopyEntries[] = R"(
INSERT INTO next.entry
    SELECT * FROM main.entry WHERE queue_id IN (SELECT root_id FROM main.message);
)";

constexpr char kMoveOn[] = R"(
DELETE FROM next.totals;
INSERT INTO next.totals SELECT * FROM main.totals;
INSERT INTO next.message SELECT * FROM main.message;
DELETE FROM next.position;
INSERT INTO next.position SELECT * FROM main.position;
DELETE FROM main.entry WHERE queue_id IN (SELECT root_id FROM main.message);
DELETE FROM main.message;
DELETE FROM main.position;
)";

std::string SuccessorPath()
{
    return host::maillog::MailLogLivePath() + ".next";
}

void Require(bool done, const char* what)
{
    if (!done) throw std::runtime_error(std::string(what) + ": " + host::ErrnoText());
}

template <typename T>
void Require(const host::Result<T>& result)
{
    if (!result) throw std::runtime_error(result.reason().text);
}

bool HasPosition(SQLite::Database& database)
{
    return database.execAndGet("SELECT count(*) FROM position").getInt() != 0;
}

/// Switches the database back to a rollback journal; false while others have it open.
bool LeaveWriteAheadLog(SQLite::Database& database)
{
    const int result = database.tryExec("PRAGMA journal_mode = DELETE");
    if (result == SQLITE_BUSY) return false;
    if (result != SQLITE_OK) throw SQLite::Exception(database.getHandle(), result);
    return true;
}

bool IsSameFile(const std::string& one, const std::string& other)
{
    struct stat first {};
    struct stat second {};
    return ::stat(one.c_str(), &first) == 0 && ::stat(other.c_str(), &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

/// Gives the closed month the name of the month of `time`. When another file has it, adds a number:
/// 2026-10-2.db.
void LinkMonth(std::int64_t time)
{
    const std::string live = host::maillog::MailLogLivePath();
    for (const std::string& path : host::maillog::MonthPaths(time)) {
        if (::link(live.c_str(), path.c_str()) == 0 || IsSameFile(live, path)) return;
        Require(errno == EEXIST, "cannot name the month");
    }
    throw std::runtime_error("too many files of one month");
}

bool IsMonth(const std::string& name)
{
    return name.size() >= 10 && std::all_of(name.begin(), name.begin() + 4, host::IsDigit) &&
           name[4] == '-' && std::all_of(name.begin() + 5, name.begin() + 7, host::IsDigit) &&
           name.compare(name.size() - 3, 3, ".db") == 0;
}

void RemoveOldMonths()
{
    const std::string folder = host::maillog::MailLogFolder();
    std::vector<std::string> months;
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(::opendir(folder.c_str()), ::closedir);
    while (const dirent* entry = directory ? ::readdir(directory.get()) : nullptr) {
        if (IsMonth(entry->d_name)) months.emplace_back(entry->d_name);
    }
    std::sort(months.begin(), months.end(), std::greater<>());
    for (std::size_t i = kMonthsKept; i < months.size(); ++i) {
        (void)::unlink((folder + "/" + months[i]).c_str());
    }
}

void MoveOn(SQLite::Database& database, std::int64_t latest)
{
    database.exec("ATTACH DATABASE '" + SuccessorPath() + "' AS next");
    SQLite::Transaction transaction(database, SQLite::TransactionBehavior::EXCLUSIVE);
    host::maillog::EntryBatch batch(database, "next");
    batch.Begin();
    database.exec(kCopyEntries);
    batch.End();
    database.exec(kMoveOn);
    SQLite::Statement old(database, "DELETE FROM next.totals WHERE period < ?");
    old.bind(1, (latest - kTotalsKept) / host::maillog::kTotalsPeriod);
    old.exec();
    transaction.commit();
}

}  // namespace

std::int64_t NextMonth(std::int64_t time)
{
    const auto seconds = static_cast<std::time_t>(time);
    std::tm parts{};
    (void)localtime_r(&seconds, &parts);
    std::tm next{};
    next.tm_year = parts.tm_year;
    next.tm_mon = parts.tm_mon + 1;
    next.tm_mday = 1;
    next.tm_isdst = -1;
    return std::mktime(&next);
}

bool CloseMonth()
{
    {
        SQLite::Database database(host::maillog::MailLogLivePath(), SQLite::OPEN_READWRITE,
                                  kPatienceMs);
        if (!LeaveWriteAheadLog(database)) return false;
        Require(host::system::RemoveDurably(SuccessorPath()));
        Require(host::system::OpenForChange(SuccessorPath(), host::maillog::MailLogSchema()));
        Require(::chmod(SuccessorPath().c_str(), 0640) == 0, "cannot make the successor readable");
        MoveOn(database, host::maillog::LatestDate(database));
    }
    FinishClosing();
    return true;
}

void FinishClosing()
{
    const std::string live = host::maillog::MailLogLivePath();
    if (!host::system::NameExists(live) || !host::system::NameExists(SuccessorPath())) return;

    std::int64_t latest = 0;
    {
        SQLite::Database database(live, SQLite::OPEN_READWRITE, kPatienceMs);
        if (HasPosition(database)) return;
        latest = host::maillog::LatestDate(database);
    }
    if (latest != 0) LinkMonth(latest);
    Require(::rename(SuccessorPath().c_str(), live.c_str()) == 0,
            "cannot put the successor in place");
    host::Log(LOG_INFO, "mail log: a month was closed");
    RemoveOldMonths();
}

}  // namespace collector
