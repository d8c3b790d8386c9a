// How many entries the mail log has of a status and a time, by the counts of each hour.
#include "host/libmailvane/maillog/counts.h"

#include <algorithm>
#include <limits>
#include <string>

namespace host::maillog {
namespace {

constexpr std::int64_t kHour = 3600;
constexpr std::int64_t kEndOfTime = std::numeric_limits<std::int64_t>::max() - kHour;

/// The result of a query with the parameters ?1 and ?2, to which the status is added unless it is
/// -1.
std::int64_t Ask(SQLite::Database& database, std::string query, int status, std::int64_t first,
                 std::int64_t second)
{
    if (status != -1) query += " AND status = ?3";
    SQLite::Statement statement(database, query);
    statement.bind(1, first);
    statement.bind(2, second);
    if (status != -1) statement.bind(3, status);
    (void)statement.executeStep();
    return statement.getColumn(0).getInt64();
}

/// Counts the entries from `from` on and before `end` one by one.
std::int64_t CountEntries(SQLite::Database& database, int status, std::int64_t from,
                          std::int64_t end)
{
    if (from >= end) return 0;
    return Ask(database, "SELECT count(*) FROM entry WHERE date >= ?1 AND date < ?2", status, from,
               end);
}

}  // namespace

std::int64_t CountIn(SQLite::Database& database, const LogFrame& frame)
{
    const std::int64_t from = std::clamp<std::int64_t>(frame.from, 0, kEndOfTime);
    const std::int64_t end =
        frame.to == 0 ? kEndOfTime : std::clamp<std::int64_t>(frame.to, -1, kEndOfTime - 1) + 1;
    const std::int64_t firstHour = (from + kHour - 1) / kHour;
    const std::int64_t endHour = end / kHour;
    if (firstHour >= endHour) return CountEntries(database, frame.status, from, end);

    return CountEntries(database, frame.status, from, firstHour * kHour) +
           Ask(database,
               "SELECT coalesce(sum(entries), 0) FROM counts WHERE hour >= ?1 AND hour < ?2",
               frame.status, firstHour, endHour) +
           CountEntries(database, frame.status, endHour * kHour, end);
}

}  // namespace host::maillog
