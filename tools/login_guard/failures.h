// Counters of failed logins by source.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>

#include "tools/login_guard/source.h"

namespace guard {

using Clock = std::chrono::steady_clock;

class Failures {
public:
    static constexpr int kMost = 10;  ///< failures of a source within kWithin
    static constexpr std::chrono::minutes kWithin{10};
    static constexpr std::size_t kMostSources = 4096;

    /// Counts a failed login. Returns true, and removes the counter, when the source has failed
    /// `kMost` times within `kWithin` of its first failure. With more than `kMostSources` counters
    /// the oldest is removed.
    bool Add(const Source& source, Clock::time_point now);

    /// Number of counters.
    std::size_t Size() const { return counts_.size(); }

private:
    struct Count {
        Clock::time_point begin;
        int failures = 0;
    };

    void MakeRoom(Clock::time_point now);

    std::map<Source, Count> counts_;
};

}  // namespace guard
