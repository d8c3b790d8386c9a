// A moment until which something waits. Reads the id of the boot that the kernel tells.
#include "host/libhaldcore/deadline.h"

#include <algorithm>
#include <ctime>
#include <fstream>

#include "host/libhaldcore/paths.h"

namespace host {

Moment Now()
{
    timespec up{};
    (void)clock_gettime(CLOCK_BOOTTIME, &up);
    Moment now{std::time(nullptr), "", up.tv_sec};
    std::ifstream(Path("/proc/sys/kernel/random/boot_id")) >> now.boot;
    return now;
}

Deadline Deadline::In(std::int64_t seconds, const Moment& now)
{
    return {seconds, {now.clock + seconds, now.boot, now.up + seconds}};
}

std::int64_t Deadline::Left(const Moment& now) const
{
    const std::int64_t left = now.boot == end.boot ? end.up - now.up : end.clock - now.clock;
    return std::clamp<std::int64_t>(left, 0, seconds);
}

}  // namespace host
