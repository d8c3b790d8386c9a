// How often logins from each source have failed.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>

#include "tools/login_guard/source.h"

namespace guard {

using Clock = std::chrono::steady_clock;

class Failures {
public:
    static constexpr int kMost = 10;  ///< of a source, within the time
    static constexpr std::chrono::minutes kWithin{10};
    static constexpr std::size_t kMostSources = 4096;

    /// Counts one. True when the source has had as many as it may have; it begins anew then. The
    /// time begins with its first failure. Where too many sources fail, the oldest is forgotten.
    bool Add(const Source& source, Clock::time_point now);

    /// Sources that are counted.
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
