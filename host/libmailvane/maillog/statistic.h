// Totals of the mail log in the periods of the overview.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <vector>

namespace host::maillog {

/// What the totals count.
enum class LogTotals { kEntries, kBytes };

/// Starts of `scale` consecutive periods in seconds since the epoch, oldest first, and the end of
/// the last one, which holds `endTime`. Hours, but days for a scale of 7, 28 to 31 and from 60 on,
/// weeks (from Monday) for 52 and months for 12; of the machine's time zone.
std::vector<std::int64_t> PeriodBounds(std::int64_t endTime, int scale);

struct PeriodTotals {
    std::uint64_t inbound = 0;
    std::uint64_t outbound = 0;
    std::uint64_t bounce = 0;  ///< entries only
};

/// Totals of the periods between `bounds`. Throws SQLite::Exception.
std::vector<PeriodTotals> TotalsOf(SQLite::Database& database, LogTotals what,
                                   const std::vector<std::int64_t>& bounds);

}  // namespace host::maillog
