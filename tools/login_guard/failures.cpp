// How often logins from each source have failed.
#include "tools/login_guard/failures.h"

#include <algorithm>

namespace guard {

/// Forgets whose time is over, and when that is nobody, the oldest.
void Failures::MakeRoom(Clock::time_point now)
{
    for (auto count = counts_.begin(); count != counts_.end();) {
        count = now - count->second.begin >= kWithin ? counts_.erase(count) : std::next(count);
    }
    if (counts_.size() < kMostSources) return;
    counts_.erase(std::min_element(
        counts_.begin(), counts_.end(),
        [](const auto& a, const auto& b) { return a.second.begin < b.second.begin; }));
}

bool Failures::Add(const Source& source, Clock::time_point now)
{
    auto found = counts_.find(source);
    if (found == counts_.end() || now - found->second.begin >= kWithin) {
        if (found == counts_.end() && counts_.size() >= kMostSources) MakeRoom(now);
        found = counts_.insert_or_assign(source, Count{now, 0}).first;
    }
    if (++found->second.failures < kMost) return false;
    counts_.erase(found);
    return true;
}

}  // namespace guard
