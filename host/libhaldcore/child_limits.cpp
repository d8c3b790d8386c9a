// Resource limits of the process that answers a request; programs that it starts do not have them.
#include "host/libhaldcore/child_limits.h"

#include <sys/resource.h>

#include <algorithm>

namespace host {

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr rlim_t kAddressSpace = RLIM_INFINITY;
#else
constexpr rlim_t kAddressSpace = rlim_t{512} << 20;
#endif
constexpr rlim_t kProcessorTime = 60;

/// One limit: its new soft value and the values before.
struct Limit {
    decltype(RLIMIT_CORE) resource;
    rlim_t wanted;
    struct rlimit before;
};

Limit limits[] = {
    {RLIMIT_CORE, 0, {}},
    {RLIMIT_AS, kAddressSpace, {}},
    {RLIMIT_CPU, kProcessorTime, {}},
};
bool limited = false;

}  // namespace

void LimitThisProcess()
{
    if (limited) return;

    for (Limit& limit : limits) {
        (void)getrlimit(limit.resource, &limit.before);
        // The hard limit stays, so that the soft limit can be raised again without privileges.
        struct rlimit lowered = limit.before;
        lowered.rlim_cur = std::min(lowered.rlim_cur, limit.wanted);
        (void)setrlimit(limit.resource, &lowered);
    }
    limited = true;
}

void RestoreLimits()
{
    if (!limited) return;

    for (const Limit& limit : limits) (void)setrlimit(limit.resource, &limit.before);
}

}  // namespace host
