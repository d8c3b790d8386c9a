// What the last self-check found, for who does not run it: /run/mailvane/check.results.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "host/libmailvane/selfcheck/self_check.h"

namespace host::selfcheck {

struct KeptResults {
    std::int64_t date = 0;  ///< seconds since the epoch
    std::map<std::string, CheckWord> words;
};

/// Keeps the results of a self-check. Logs when it cannot.
void KeepResults(const std::vector<CheckResult>& results, std::int64_t now);

/// Those that were kept last; nothing since the machine was started.
std::optional<KeptResults> ReadKeptResults();

}  // namespace host::selfcheck
