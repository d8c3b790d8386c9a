// The processes of a daemon: its main process (master), its descendants, and leftovers.
#pragma once

#include <sys/types.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace service {

/// The processes that must end before a daemon counts as stopped.
class ProcessSet {
public:
    /// The master, its descendants in the same session, and its process group, unless another
    /// process leads that group. With `all`, also descendants in other sessions. What is left of
    /// its group when the master has ended.
    static ProcessSet Of(pid_t master, bool all = false);

    /// The descendants of the master in its session, without the master.
    static ProcessSet WorkersOf(pid_t master);

    /// A process group whose leader has ended, or is ending: it has no program any more then, but
    /// still its sockets.
    static ProcessSet Orphans(pid_t group);

    /// A name that no other process has had since the boot; empty when it does not run.
    static std::string Name(pid_t process);

    /// What differs once the process has begun another program, or the same one anew.
    static std::string Program(pid_t process);

    /// Whether none of these processes runs, nor any new one in their groups. Zombies do not count.
    bool AreGone() const;

    /// Sends a signal to all running ones.
    void Signal(int number) const;

    /// Sends a signal to the groups only.
    void SignalGroups(int number) const;

    /// The processes that are still running.
    std::vector<pid_t> Running() const;

private:
    std::map<pid_t, unsigned long long> members_;  ///< with the time at which each started
    std::set<pid_t> groups_;
};

}  // namespace service
