// The processes of a daemon: its master, those that it has started, and what is left of them.
#pragma once

#include <sys/types.h>

#include <map>
#include <set>
#include <vector>

namespace service {

/// All that has to end for a daemon to be gone.
class ProcessSet {
public:
    /// The master, what descends from it in its session, and the group of processes that it is in,
    /// when that is its own: when it leads the group, or nobody does. With `all`, what descends
    /// from it in other sessions too.
    static ProcessSet Of(pid_t master, bool all = false);

    /// A group of processes whose leader has ended.
    static ProcessSet Orphans(pid_t group);

    /// Whether none of them runs, nor any that has joined their groups since. One that has ended
    /// and only waits to be looked after does not run.
    bool AreGone() const;

    /// Sends a signal to all of them.
    void Signal(int number) const;

    /// Sends a signal to their groups alone.
    void SignalGroups(int number) const;

    /// The processes that run.
    std::vector<pid_t> Running() const;

private:
    std::map<pid_t, unsigned long long> members_;  ///< and when each was started
    std::set<pid_t> groups_;
};

}  // namespace service
