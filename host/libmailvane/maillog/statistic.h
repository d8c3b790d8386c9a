// Totals of the mail log for the periods of the overview.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <vector>

namespace host::maillog {

/// What is added up.
enum class LogTotals { kEntries, kBytes };

/// The starts of `scale` consecutive periods, oldest first, and the end of the last one, which
/// contains `endTime`; all in seconds since the epoch. A period is an hour, but a day for a scale
/// of 7, 28 to 31 or 60 and more, a week (from Monday) for 52, a month for 12; in the machine's
/// time zone.
std::vector<std::int64_t> PeriodBounds(std::int64_t endTime, int scale);

struct PeriodTotals {
    std::uint64_t inbound = 0;
    std::uint64_t outbound = 0;
    std::uint64_t bounce = 0;  ///< only of entries
};

/// The totals of the periods between `bounds`. Throws SQLite::Exception.
std::vector<PeriodTotals> TotalsOf(SQLite::Database& database, LogTotals what,
                                   const std::vector<std::int64_t>& bounds);

}  // namespace host::maillog
