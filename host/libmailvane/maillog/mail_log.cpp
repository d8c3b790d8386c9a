// The mail log as the pages read it. Opens only databases in the log's own two folders, from
// opening to closing with the rights of the collector's user, who owns them: the collector parses
// text of strangers, so its files are not trusted.
#include "platform/mailvane/mail_log.h"

#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <memory>
#include <optional>

#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/maillog/query.h"
#include "host/libmailvane/maillog/schema.h"
#include "host/libmailvane/maillog/statistic.h"
#include "host/libmailvane/system/owner_rights.h"

namespace {

constexpr int kMostPeriods = 100000;
const host::Subject kStore = host::Subject::List("mail_log");

/// The path with links resolved; empty when it does not exist.
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

constexpr char kWhat[] = "mail log";
constexpr char kPathMember[] = "log_path";
constexpr char kPrefix[] = "mail log: ";

/// The path of the database that a request names; empty when it is outside of the log's folders.
host::Result<std::string> LogDatabase(const char* path)
{
    std::string real = RealPath(host::Path(path));
    if (LiesIn(real, host::maillog::MailLogFolder()) ||
        LiesIn(real, host::maillog::MailLogLiveFolder()))
        return real;

    return host::Reason{host::ReasonCode::kNoChoice, host::Subject::Setting(kPathMember),
                        std::string(path) + " is no database of the log"};
}

host::Result<SQLite::Database> OpenLog(const char* path)
{
    const host::Result<std::string> real = LogDatabase(path);
    if (!real) return real.reason();
    auto database = host::system::OpenAsItIs(*real);
    if (!database) return std::move(database).reason();
    if (!*database) {
        return host::Reason{host::ReasonCode::kMissing, host::Subject::Setting(kPathMember),
                            *real + " is missing"};
    }

    const int version = (*database)->execAndGet("PRAGMA user_version").getInt();
    if (version >= host::maillog::kOldestReadableVersion &&
        version <= host::maillog::MailLogSchema().version)
        return std::move(**database);
    return host::Reason{host::ReasonCode::kDamaged, kStore,
                        *real + " has the unknown version " + std::to_string(version)};
}

int AsCount(std::int64_t count)
{
    return count > INT_MAX ? INT_MAX : static_cast<int>(count);
}

/// A sorted list read page by page. The query stays open, so the next page continues it.
class ContinuedList {
public:
    ContinuedList(SQLite::Database& database, host::maillog::LogOrder order)
        : order_(order),
          rows_(database,
                std::string("SELECT ") + host::maillog::kEntryColumns + " FROM entry" + order.Sql())
    {
    }

    /// Whether the entry number `start` in this order has not been read yet.
    bool Affects(const host::maillog::LogOrder& order, int start) const
    {
        return order_ == order && start >= position_;
    }

    /// Appends the entries from number `start` on, none of which may have been read yet.
    void ReadPage(int start, int limit, std::vector<MailLogInfo>& rows)
    {
        while (position_ < start && Step()) continue;
        for (int i = 0; i < limit && Step(); ++i) rows.push_back(host::maillog::ReadEntry(rows_));
    }

private:
    bool Step()
    {
        ended_ = ended_ || !rows_.executeStep();
        ++position_;
        return !ended_;
    }

    host::maillog::LogOrder order_;
    SQLite::Statement rows_;
    int position_ = 0;  ///< number of the next row
    bool ended_ = false;
};

}  // namespace

struct MailLog::State {
    std::optional<SQLite::Database> database;
    std::optional<ContinuedList> list;
    std::optional<host::maillog::LogSelection> selection;

    /// The entries that meet the criteria; kept, since a page's request also asks for their number.
    const host::maillog::LogSelection& Select(const host::maillog::LogCriteria& criteria)
    {
        if (!selection || !selection->IsStill(criteria)) {
            selection.emplace(database.value(), criteria);
        }
        return *selection;
    }
};

namespace {

/// Fills a chart, which has a limited number of periods.
host::Result<int> Fill(SQLite::Database& database, host::maillog::LogTotals what, long endTime,
                       int scale, Statistic& statistic)
{
    if (scale > kMostPeriods) {
        return host::Reason{host::ReasonCode::kOutOfRange, host::Subject::Setting("scale"), ""};
    }
    if (scale <= 0) return 0;

    for (const host::maillog::PeriodTotals& total :
         host::maillog::TotalsOf(database, what, host::maillog::PeriodBounds(endTime, scale))) {
        statistic.inbound.push_back(total.inbound);
        statistic.outbound.push_back(total.outbound);
        statistic.bounce.push_back(total.bounce);
    }
    return 0;
}

/// Runs an operation on the mail log's database.
template <typename Operation>
auto Attempt(Operation operation)
{
    const auto withRights = [&operation] {
        const host::system::OwnerRights rights(host::maillog::MailLogFolder());
        return operation();
    };
    return host::system::Attempt(kWhat, withRights).About(kStore);
}

}  // namespace

MailLog::MailLog(const char* path) : state_(new State)
{
    auto database = Attempt([path] { return OpenLog(path).Prefixed(kPrefix); });
    if (host::Succeeded(database)) state_->database = *std::move(database);
}

MailLog::~MailLog()
{
    // Closing a database can write to it.
    (void)host::Succeeded(Attempt([this] { delete state_; }));
}

int MailLog::error()
{
    return state_->database ? 0 : -1;
}

int MailLog::load(const LogFilter& filter, std::vector<MailLogInfo>& rows)
{
    return host::Status(Attempt([&] {
        state_->Select(host::maillog::LogCriteria(filter))
            .ReadPage(host::maillog::LogOrder(filter.sortField, filter.order), filter.start,
                      filter.limit, rows);
    }));
}

int MailLog::load(int limit, int start, const std::string& sortField, const std::string& order,
                  std::vector<MailLogInfo>& rows)
{
    const int result = host::Status(Attempt([&] {
        const host::maillog::LogOrder wanted(sortField, order);
        if (!state_->list || !state_->list->Affects(wanted, start)) {
            state_->list.emplace(state_->database.value(), wanted);
        }
        state_->list->ReadPage(start, limit, rows);
    }));
    // After a failure SQLite would begin the query again at the first entry.
    if (result < 0) state_->list.reset();
    return result;
}

// NOLINTNEXTLINE(readability-function-size): the platform declares it so.
int MailLog::search(int limit, int start, const std::string& sortField, const std::string& order,
                    const std::string& query, std::vector<MailLogInfo>& rows)
{
    return host::Status(Attempt([&] {
        state_->Select(host::maillog::LogCriteria(query))
            .ReadPage(host::maillog::LogOrder(sortField, order), start, limit, rows);
    }));
}

int MailLog::getLogNum(const LogFilter& filter)
{
    return host::Status(Attempt(
        [&] { return AsCount(state_->Select(host::maillog::LogCriteria(filter)).Count()); }));
}

int MailLog::getLogNum(std::string& query)
{
    return host::Status(Attempt(
        [&] { return AsCount(state_->Select(host::maillog::LogCriteria(query)).Count()); }));
}

int MailLog::clear()
{
    const host::ScopedLock lock;
    if (!lock.held()) return host::Status(lock.ready());

    return host::Status(Attempt([this]() -> host::Result<void> {
        state_->list.reset();
        state_->selection.reset();
        const std::string path = state_->database.value().getFilename();
        auto database = host::maillog::OpenMailLogForChange(path).Prefixed(kPrefix);
        if (!database) return std::move(database).reason();
        return host::maillog::ClearMailLog(*database);
    }));
}

int MailLog::getQuantityStatistic(Statistic& statistic, long endTime, TimeScale scale)
{
    return host::Status(Attempt([&] {
        return Fill(state_->database.value(), host::maillog::LogTotals::kEntries, endTime, scale,
                    statistic);
    }));
}

int MailLog::getBandwidthStatistic(Statistic& statistic, long endTime, TimeScale scale)
{
    return host::Status(Attempt([&] {
        return Fill(state_->database.value(), host::maillog::LogTotals::kBytes, endTime, scale,
                    statistic);
    }));
}

std::string GetPostfixLogPath()
{
    return host::Path(host::maillog::kPostfixLog);
}
