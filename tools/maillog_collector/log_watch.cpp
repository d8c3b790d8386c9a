// Waiting for Postfix's log to grow.
#include "tools/maillog_collector/log_watch.h"

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace collector {
namespace {

constexpr int kLongestWaitMs = 1000;  // also when inotify reports nothing
constexpr int kGatherMs = 50;

}  // namespace

LogWatch::LogWatch(const std::string& folder) : events_(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    (void)::inotify_add_watch(events_.get(), folder.c_str(),
                              IN_MODIFY | IN_CREATE | IN_MOVED_TO | IN_ONLYDIR);
}

void LogWatch::Wait()
{
    pollfd waiting{events_.get(), POLLIN, 0};
    if (::poll(&waiting, 1, kLongestWaitMs) <= 0) return;

    (void)::poll(nullptr, 0, kGatherMs);
    char events[4096];
    while (::read(events_.get(), events, sizeof events) > 0) continue;
}

}  // namespace collector
