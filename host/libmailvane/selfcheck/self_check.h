// The self-check: what a check is, the table of all checks, and running them.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "host/libmailvane/settings/stored_settings.h"

namespace host::selfcheck {

/// The result of a check, from best to worst.
enum class CheckWord {
    kOff,      ///< switched off by the administrator
    kOk,       ///< as it should be
    kUnknown,  ///< not known: out of time, no network
    kWarning,  ///< works, but needs attention
    kFailed    ///< does not work
};

/// The word as the page shows it: "OFF", "OK", "UNKNOWN", "WARNING", "FAILED".
const char* Spelling(CheckWord word);

struct Finding {
    CheckWord word = CheckWord::kOk;
    std::string detail;  ///< for the log; empty when there is nothing to say
};

/// Adds a finding to `sum`: the worse word, and the details of findings worse than OK.
void Add(Finding& sum, const Finding& finding);

/// A row of the table. The check runs in its own process, so it may leak, hang or crash.
struct Check {
    const char* key;  ///< its name on the page
    /// Names of settings, separated by blanks; the check is OFF while all are "no" or "local".
    /// Null: never OFF.
    const char* settings;
    Finding (*run)(const settings::StoredSettings& settings, const char* subject);
    const char* subject;         ///< what `run` checks; null when it needs none
    std::chrono::seconds limit;  ///< the check is killed after this time and is UNKNOWN
    const char* meaning;
};

/// All checks in the order of the page.
std::vector<Check> AllChecks();

/// No check may have a limit longer than this.
constexpr std::chrono::seconds kLongestCheck{8};

/// Runs the checks in parallel and returns their findings in the same order. Takes no longer than
/// the longest limit, and leaves no process behind.
std::vector<Finding> RunChecks(const std::vector<Check>& checks,
                               const settings::StoredSettings& settings);

struct CheckResult {
    std::string key;
    Finding finding;
};

/// The results of all checks, in the order of the page; while the mail server is switched off, each
/// is OFF. What is worse than OK is logged, and all is kept for `ReadKeptResults`.
std::vector<CheckResult> CheckServer(const settings::StoredSettings& settings);

}  // namespace host::selfcheck
