// Time stamps in the logs of mail server and scanner.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace host::maillog {

/// Converts time stamps to seconds since the epoch. Remembers the hour of the last line, since
/// lines come in order and an hour can occur twice.
class LogClock {
public:
    /// `now`, in seconds since the epoch, decides what an incomplete stamp means: the latest such
    /// time that is not in the future. In January 2027, `Dec 31 23:59:59` is of 2026.
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
    std::int64_t again_ = 0;  ///< seconds until that hour comes again
};

}  // namespace host::maillog
