// Metrics of the mail log. Reads the collector's database and the mail server's log, with the
// rights of the collector.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <optional>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/maillog/log_clock.h"
#include "host/libmailvane/maillog/schema.h"
#include "host/libmailvane/maillog/statistic.h"
#include "host/libmailvane/system/database.h"
#include "host/libmailvane/system/owner_rights.h"
#include "tools/metrics/sources.h"

namespace metrics {

namespace {

using host::maillog::kTotalsPeriod;
using host::maillog::PeriodTotals;

constexpr std::int64_t kPeriodsOfHour = 3600 / kTotalsPeriod;
constexpr std::int64_t kPeriodsOfDay = 24 * kPeriodsOfHour;

constexpr Family kMail = {"mailvane_mail_messages", "",
                          "Entries of the mail log by what became of them, in the last hour or day"
                          " of whole quarters."};
constexpr Family kUnread = {"mailvane_log_unread_bytes", "bytes",
                            "What the collector has not taken yet of the mail server's log."};
constexpr Family kLag = {"mailvane_log_lag_seconds", "seconds",
                         "Age of the first line that the collector has not taken yet; 0 without"
                         " one."};

/// How far the collector is.
struct Position {
    std::int64_t inode = 0;
    std::int64_t offset = 0;
};

/// What it has not read.
struct Backlog {
    std::int64_t bytes = 0;
    std::int64_t age = 0;  ///< of the first line of that
};

void AppendMail(const PeriodTotals& totals, const char* window, std::vector<Sample>& samples)
{
    const std::pair<const char*, std::uint64_t> outcomes[] = {
        {"received", totals.inbound}, {"sent", totals.outbound}, {"bounced", totals.bounce}};
    for (const auto& [outcome, messages] : outcomes) {
        samples.push_back(
            {{{"window", window}, {"outcome", outcome}}, static_cast<double>(messages)});
    }
}

std::vector<Sample> MailOf(SQLite::Database& database, std::int64_t now)
{
    const std::int64_t next = (now / kTotalsPeriod + 1) * kTotalsPeriod;
    const auto totals = host::maillog::TotalsOf(
        database, host::maillog::LogTotals::kEntries,
        {next - kPeriodsOfDay * kTotalsPeriod, next - kPeriodsOfHour * kTotalsPeriod, next});
    PeriodTotals day = totals[1];
    day.inbound += totals[0].inbound;
    day.outbound += totals[0].outbound;
    day.bounce += totals[0].bounce;

    std::vector<Sample> samples;
    AppendMail(totals[1], "hour", samples);
    AppendMail(day, "day", samples);
    return samples;
}

Position PositionIn(SQLite::Database& database)
{
    SQLite::Statement query(database, "SELECT inode, offset FROM position");
    if (!query.executeStep()) return {};
    return {query.getColumn(0).getInt64(), query.getColumn(1).getInt64()};
}

/// What the log has behind a position; nothing when it cannot be read. Of one that was moved away
/// the rest does not count.
std::optional<Backlog> BacklogAt(const Position& position, std::int64_t now)
{
    const std::string path = host::Path(host::maillog::kPostfixLog);
    const host::Descriptor log(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (!log || fstat(log.get(), &status) < 0) return std::nullopt;

    const bool isSame = position.inode == static_cast<std::int64_t>(status.st_ino);
    const std::int64_t offset = isSame ? position.offset : 0;
    const std::int64_t size = status.st_size;
    if (offset >= size) return Backlog{};

    char stamp[64];
    const ssize_t count = pread(log.get(), stamp, sizeof stamp, static_cast<off_t>(offset));
    const auto written = host::maillog::LogClock(now).Seconds(
        {stamp, static_cast<std::size_t>(std::max<ssize_t>(count, 0))});
    return Backlog{size - offset, written < 0 ? 0 : std::max<std::int64_t>(now - written, 0)};
}

}  // namespace

bool AddMailLog(std::int64_t now, Exposition& exposition)
{
    const host::system::OwnerRights rights(host::maillog::MailLogLiveFolder());
    auto opened = host::system::OpenAsItIs(host::maillog::MailLogLivePath());
    if (!opened || !*opened) return false;

    SQLite::Database& database = **opened;
    const std::vector<Sample> mail = MailOf(database, now);
    const auto backlog = BacklogAt(PositionIn(database), now);
    exposition.Add(kMail, mail);
    if (backlog) {
        exposition.Add(kUnread, static_cast<double>(backlog->bytes));
        exposition.Add(kLag, static_cast<double>(backlog->age));
    }
    return true;
}

}  // namespace metrics
