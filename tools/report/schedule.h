// The times of the report.
#pragma once

#include <cstdint>
#include <optional>

#include "host/libhaldcore/result.h"
#include "platform/mailvane/reporter.h"
#include "tools/report/report_data.h"

namespace report {

/// State of the reports: etc/report.state.
struct Progress {
    std::int64_t doneUntil = 0;    ///< end of the period of the last report
    std::int64_t nextAttempt = 0;  ///< earliest time of the next attempt; 0 without failures
    int attempts = 0;              ///< failed attempts since the last report
};

/// Reads the state; nothing before the first run.
std::optional<Progress> ReadProgress();
host::Result<void> WriteProgress(const Progress& progress);

/// The latest time, not after `now`, at which the clock showed the report's time. Hours above 23
/// and minutes above 59 count as 23 and 59.
std::int64_t LatestMoment(const Reporter::Time& time, std::int64_t now);

/// The period of a report that is due now: from the end of the last one, but a week at most, so
/// that it covers days whose report could not be sent; the last day when the state is of a clock
/// that was more than a day ahead. Nothing when none is due.
std::optional<Period> DuePeriod(const Progress& stored, std::int64_t moment, std::int64_t now);

/// The state after a failed attempt. The next attempt is 5 minutes later, then 10, 20, 40, and 60
/// from then on.
Progress AfterFailure(const Progress& progress, std::int64_t now);

}  // namespace report
