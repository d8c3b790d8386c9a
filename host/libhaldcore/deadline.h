// A moment until which something waits, also over a boot and when the clock is set.
#pragma once

#include <cstdint>
#include <string>

namespace host {

/// A moment as the machine measures it.
struct Moment {
    std::int64_t clock = 0;  ///< seconds since the epoch, by a clock that may be set
    std::string boot;        ///< which run of the machine it is
    std::int64_t up = 0;     ///< seconds since its boot, by a clock that does not jump
};

Moment Now();

struct Deadline {
    std::int64_t seconds = 0;  ///< how long it was set for
    Moment end;

    static Deadline In(std::int64_t seconds, const Moment& now);

    /// The seconds that are left, from 0 to those that it was set for. Within one run of the
    /// machine the clock that may be set is not looked at.
    std::int64_t Left(const Moment& now) const;
};

}  // namespace host
