// When the report is due.
#pragma once

#include <cstdint>
#include <optional>

#include "host/libhaldcore/result.h"
#include "platform/mailvane/reporter.h"
#include "tools/report/report_data.h"

namespace report {

/// What is known of the reports so far: etc/report.state.
struct Progress {
    std::int64_t doneUntil = 0;    ///< end of the period that the last report told about
    std::int64_t nextAttempt = 0;  ///< not before this moment; 0 when nothing has failed
    int attempts = 0;              ///< failed ones since the last report
};

/// Nothing before the first run.
std::optional<Progress> ReadProgress();
host::Result<void> WriteProgress(const Progress& progress);

/// The last moment, `now` at the latest, at which the clock showed the report's time. Hours above
/// 23 and minutes above 59 count as 23 and 59.
std::int64_t LatestMoment(const Reporter::Time& time, std::int64_t now);

/// The period that a report due now tells about: from the end of the last one, a week at most. Days
/// whose report could not be sent are in it. Nothing when no report is due.
std::optional<Period> DuePeriod(const Progress& progress, std::int64_t moment, std::int64_t now);

/// After another failed attempt: the next one is 5 minutes later, then 10, 20, 40, and 60 from
/// there on.
Progress AfterFailure(const Progress& progress, std::int64_t now);

}  // namespace report
