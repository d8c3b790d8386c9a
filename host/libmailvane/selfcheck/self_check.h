// The parts of the self-check: what a check is, the table of all checks, and how they are run.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "host/libmailvane/settings/stored_settings.h"

namespace host::selfcheck {

/// Outcome of a check, from the best to the worst.
enum class CheckWord {
    kOff,      ///< switched off by the administrator
    kOk,       ///< as it should be
    kUnknown,  ///< could not be told: out of time, no network
    kWarning,  ///< works, but needs attention
    kFailed    ///< does not work
};

/// The word as the page gets it: "OFF", "OK", "UNKNOWN", "WARNING", "FAILED".
const char* Spelling(CheckWord word);

struct Finding {
    CheckWord word = CheckWord::kOk;
    std::string detail;  ///< for the log; empty when there is nothing to say
};

/// Keeps the worse word of the two in `sum` and joins the details of what is worse than OK.
void Add(Finding& sum, const Finding& finding);

/// One row of the table. The check runs in a process of its own, and may leak, hang or crash there.
struct Check {
    const char* key;  ///< what the page knows it by
    /// OFF while these, with blanks between them, are all "no" or "local"; null: never OFF
    const char* settings;
    Finding (*run)(const settings::StoredSettings& settings, const char* subject);
    const char* subject;         ///< what `run` looks at, null when that goes without saying
    std::chrono::seconds limit;  ///< the check is killed after it, and UNKNOWN
    const char* meaning;
};

/// Every check, in the order of the page.
std::vector<Check> AllChecks();

/// Longest time that any check may take: the limits of the table are no greater.
constexpr std::chrono::seconds kLongestCheck{8};

/// Runs the checks at the same time and returns their findings in the order given. Takes no longer
/// than the greatest limit among them and leaves no process behind.
std::vector<Finding> RunChecks(const std::vector<Check>& checks,
                               const settings::StoredSettings& settings);

}  // namespace host::selfcheck
