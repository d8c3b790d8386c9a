// The mail log as the pages read it. Opens databases of the log's two folders only.
#include "platform/mailvane/mail_log.h"

#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <memory>
#include <optional>
#include <stdexcept>

#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/mail_log_query.h"
#include "host/libmailvane/mail_log_schema.h"
#include "host/libmailvane/mail_log_statistic.h"

namespace {

constexpr int kMostPeriods = 100000;

/// Where a name leads in the end; empty when nowhere.
std::string RealPath(const std::string& path)
{
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                           std::free);
    return real == nullptr ? "" : real.get();
}

bool LiesIn(const std::string& real, const std::string& folder)
{
    const std::string parent = RealPath(folder);
    return !parent.empty() && real.substr(0, real.rfind('/')) == parent;
}

/// The database that a request names, if it is one of the log's own.
std::string LogDatabase(const char* path)
{
    const std::string real = RealPath(host::Path(path));
    if (LiesIn(real, host::MailLogFolder()) || LiesIn(real, host::MailLogLiveFolder())) return real;

    throw std::runtime_error(std::string(path) + " is no database of the log");
}

SQLite::Database OpenLog(const char* path)
{
    const std::string real = LogDatabase(path);
    std::optional<SQLite::Database> database = host::OpenAsItIs(real);
    if (!database) throw std::runtime_error(real + " is missing");

    const int version = database->execAndGet("PRAGMA user_version").getInt();
    if (version != host::MailLogSchema().version) {
        throw std::runtime_error(real + " has the unknown version " + std::to_string(version));
    }
    return std::move(*database);
}

int AsCount(std::int64_t count)
{
    return count > INT_MAX ? INT_MAX : static_cast<int>(count);
}

/// A list that is read page by page: the next page begins where the last one ended.
struct ContinuedList {
    ContinuedList(SQLite::Database& database, host::LogOrder listOrder)
        : order(listOrder),
          rows(database, std::string("SELECT ") + host::kEntryColumns + " FROM entry" + order.Sql())
    {
    }

    host::LogOrder order;
    SQLite::Statement rows;
    int position = 0;  ///< number of the row that comes next
    bool ended = false;

    bool Step()
    {
        ended = ended || !rows.executeStep();
        ++position;
        return !ended;
    }
};

}  // namespace

struct MailLog::State {
    std::optional<SQLite::Database> database;
    std::optional<ContinuedList> list;
};

namespace {

/// Reads a page, continuing `list` where it can be.
void ReadListPage(SQLite::Database& database, std::optional<ContinuedList>& list,
                  const host::LogOrder& order, int start, int limit, std::vector<MailLogInfo>& rows)
{
    if (!list || !(list->order == order) || start < list->position) list.emplace(database, order);

    while (list->position < start && list->Step()) continue;
    for (int i = 0; i < limit && list->Step(); ++i) rows.push_back(host::ReadEntry(list->rows));
}

/// Negative for more periods than any chart has.
int Fill(SQLite::Database& database, host::LogTotals what, long endTime, int scale,
         Statistic& statistic)
{
    if (scale > kMostPeriods) return -1;
    if (scale <= 0) return 0;

    for (const host::PeriodTotals& total :
         host::TotalsOf(database, what, host::PeriodBounds(endTime, scale))) {
        statistic.inbound.push_back(total.inbound);
        statistic.outbound.push_back(total.outbound);
        statistic.bounce.push_back(total.bounce);
    }
    return 0;
}

}  // namespace

MailLog::MailLog(const char* path) : state_(new State)
{
    (void)host::WithoutExceptions("mail log", [this, path] {
        state_->database.emplace(OpenLog(path));
        return 0;
    });
}

MailLog::~MailLog()
{
    delete state_;
}

int MailLog::error()
{
    return state_->database ? 0 : -1;
}

int MailLog::load(const LogFilter& filter, std::vector<MailLogInfo>& rows)
{
    return host::WithoutExceptions("mail log", [&] {
        host::ReadPage(state_->database.value(), host::LogCriteria(filter),
                       host::LogOrder(filter.sortField, filter.order), filter.start, filter.limit,
                       rows);
        return 0;
    });
}

int MailLog::load(int limit, int start, const std::string& sortField, const std::string& order,
                  std::vector<MailLogInfo>& rows)
{
    const int result = host::WithoutExceptions("mail log", [&] {
        ReadListPage(state_->database.value(), state_->list, host::LogOrder(sortField, order),
                     start, limit, rows);
        return 0;
    });
    // After a failure SQLite would go on with the first entry.
    if (result < 0) state_->list.reset();
    return result;
}

// NOLINTNEXTLINE(readability-function-size): the platform declares it so.
int MailLog::search(int limit, int start, const std::string& sortField, const std::string& order,
                    const std::string& query, std::vector<MailLogInfo>& rows)
{
    return host::WithoutExceptions("mail log", [&] {
        host::ReadPage(state_->database.value(), host::LogCriteria(query),
                       host::LogOrder(sortField, order), start, limit, rows);
        return 0;
    });
}

int MailLog::getLogNum(const LogFilter& filter)
{
    return host::WithoutExceptions("mail log", [&] {
        return AsCount(host::CountEntries(state_->database.value(), host::LogCriteria(filter)));
    });
}

int MailLog::getLogNum(std::string& query)
{
    return host::WithoutExceptions("mail log", [&] {
        return AsCount(host::CountEntries(state_->database.value(), host::LogCriteria(query)));
    });
}

int MailLog::clear()
{
    return host::WithoutExceptions("mail log", [this] {
        const host::ScopedLock lock;
        if (!lock.held()) return -1;

        state_->list.reset();
        const std::string path = state_->database.value().getFilename();
        SQLite::Database database = host::OpenMailLogForChange(path);
        host::ClearMailLog(database);
        return 0;
    });
}

int MailLog::getQuantityStatistic(Statistic& statistic, long endTime, TimeScale scale)
{
    return host::WithoutExceptions("mail log", [&] {
        return Fill(state_->database.value(), host::LogTotals::kEntries, endTime, scale, statistic);
    });
}

int MailLog::getBandwidthStatistic(Statistic& statistic, long endTime, TimeScale scale)
{
    return host::WithoutExceptions("mail log", [&] {
        return Fill(state_->database.value(), host::LogTotals::kBytes, endTime, scale, statistic);
    });
}

std::string GetPostfixLogPath()
{
    return host::Path(host::kPostfixLog);
}
