// The self-check between reports: what has become bad is told by mail.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/selfcheck/self_check.h"

namespace report {

/// What is remembered from one self-check to the next: /run/mailvane/check.state.
struct CheckMemory {
    std::int64_t lastRun = 0;    ///< seconds since the epoch
    std::set<std::string> seen;  ///< keys of the checks that were bad then
    std::set<std::string> told;  ///< keys of those that a letter was about
};

CheckMemory ReadCheckMemory();
host::Result<void> WriteCheckMemory(const CheckMemory& memory);

/// Whether a letter is wanted (`MAILVANE_CHECK_MAIL` in the package's defaults file).
bool ChecksAreMailed();

/// Whether a quarter of an hour has passed, or the clock was set back.
bool CheckIsDue(const CheckMemory& memory, std::int64_t now);

/// What there is to tell. Bad is WARNING and FAILED, twice in a row: what passes is not told.
struct CheckNews {
    std::vector<host::selfcheck::CheckResult> turnedBad;
    std::vector<host::selfcheck::CheckResult> badBefore;  ///< told already
    bool isWellAgain = false;                             ///< nothing is left of what was told

    bool IsEmpty() const { return turnedBad.empty() && !isWellAgain; }
};

CheckNews NewsOf(const std::vector<host::selfcheck::CheckResult>& results,
                 const CheckMemory& memory);

/// The memory after these results. `isTold`: the news of them has been sent, or is empty.
CheckMemory Remembered(const std::vector<host::selfcheck::CheckResult>& results,
                       const CheckMemory& memory, bool isTold, std::int64_t now);

}  // namespace report
