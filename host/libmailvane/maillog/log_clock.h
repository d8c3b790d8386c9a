// The time stamps of the mail server's log and the scanner's.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace host::maillog {

/// Turns stamps into seconds since the epoch. Lines come in order, so the hour of the last one is
/// kept.
class LogClock {
public:
    /// `now` decides the year of stamps that have none, and which of two hours of the same name
    /// they mean: the latest that is not in the future.
    explicit LogClock(std::int64_t now) : now_(now) {}

    void SetNow(std::int64_t now) { now_ = now; }

    /// Seconds since the epoch of `Nov 21 04:16:18` (this machine's time zone) or
    /// `2026-11-21T04:23:39.548043+00:00`; -1 for anything else.
    std::int64_t Seconds(std::string_view stamp);

private:
    std::int64_t ClassicHour(std::string_view stamp);

    std::int64_t now_;
    std::string lastHour_;
    std::int64_t lastSeconds_ = -1;
    std::int64_t again_ = 0;  ///< how much later that hour comes a second time
};

}  // namespace host::maillog
