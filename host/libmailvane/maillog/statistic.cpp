// Totals of the mail log for the periods of the overview.
#include "host/libmailvane/maillog/statistic.h"

#include <algorithm>
#include <ctime>

#include "host/libmailvane/maillog/schema.h"

namespace host::maillog {
namespace {

constexpr int kSecondsOfHour = 3600;
constexpr int kDaysOfWeek = 7;
constexpr int kWeeksOfYear = 52;
constexpr int kMonthsOfYear = 12;
constexpr int kShortestMonth = 28;
constexpr int kLongestMonth = 31;
constexpr int kMostHours = 59;                      // charts of more than 59 periods are of days
constexpr std::int64_t kLastSecond = 253402300799;  // of the year 9999

enum class Width { kHour, kDay, kWeek, kMonth };

Width WidthOf(int scale)
{
    if (scale == kMonthsOfYear) return Width::kMonth;
    if (scale == kWeeksOfYear) return Width::kWeek;

    const bool month = scale >= kShortestMonth && scale <= kLongestMonth;
    return scale == kDaysOfWeek || month || scale > kMostHours ? Width::kDay : Width::kHour;
}

/// The start of the period that is `back` periods before that of `last`.
std::int64_t StartOf(Width width, std::tm last, int back)
{
    last.tm_sec = 0;
    last.tm_min = 0;
    last.tm_hour = 0;
    last.tm_isdst = -1;
    switch (width) {
        case Width::kMonth:
            last.tm_mday = 1;
            last.tm_mon -= back;
            break;
        case Width::kWeek:
            last.tm_mday -= (last.tm_wday + kDaysOfWeek - 1) % kDaysOfWeek + kDaysOfWeek * back;
            break;
        default:
            last.tm_mday -= back;
    }
    return std::mktime(&last);
}

}  // namespace

std::vector<std::int64_t> PeriodBounds(std::int64_t endTime, int scale)
{
    const Width width = WidthOf(scale);
    // A request may have any number; times beyond these limits cannot be converted.
    const auto end = static_cast<std::time_t>(std::clamp<std::int64_t>(endTime, 0, kLastSecond));
    std::tm last{};
    (void)localtime_r(&end, &last);
    // The full hour is computed locally, since zones may differ from UTC by half an hour.
    const std::int64_t hour = end - std::int64_t{60} * last.tm_min - last.tm_sec;

    std::vector<std::int64_t> bounds;
    bounds.reserve(static_cast<std::size_t>(scale) + 1);
    for (int back = scale - 1; back >= -1; --back) {
        bounds.push_back(width == Width::kHour
                             ? hour - static_cast<std::int64_t>(back) * kSecondsOfHour
                             : StartOf(width, last, back));
    }
    return bounds;
}

std::vector<PeriodTotals> TotalsOf(SQLite::Database& database, LogTotals what,
                                   const std::vector<std::int64_t>& bounds)
{
    const char* columns = what == LogTotals::kEntries ? "inbound, outbound, bounce"
                                                      : "inbound_bytes, outbound_bytes, 0";
    SQLite::Statement query(database, std::string("SELECT period, ") + columns +
                                          " FROM totals WHERE period >= ? AND period < ?");
    query.bind(1, bounds.front() / kTotalsPeriod);
    query.bind(2, bounds.back() / kTotalsPeriod);

    std::vector<PeriodTotals> totals(bounds.size() - 1);
    while (query.executeStep()) {
        const std::int64_t start = query.getColumn(0).getInt64() * kTotalsPeriod;
        const auto after = std::upper_bound(bounds.begin(), bounds.end(), start);
        const auto index = after - bounds.begin() - 1;
        if (index < 0 || after == bounds.end()) continue;

        PeriodTotals& total = totals[static_cast<std::size_t>(index)];
        total.inbound += static_cast<std::uint64_t>(query.getColumn(1).getInt64());
        total.outbound += static_cast<std::uint64_t>(query.getColumn(2).getInt64());
        total.bounce += static_cast<std::uint64_t>(query.getColumn(3).getInt64());
    }
    return totals;
}

}  // namespace host::maillog
