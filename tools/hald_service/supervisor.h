// The supervisor of one daemon. Each operation brings the daemon from any state into the one asked
// for, and returns when that is reached.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <memory>
#include <string>

#include "tools/hald_service/launch.h"
#include "tools/hald_service/processes.h"
#include "tools/hald_service/stored.h"

namespace service {

/// How long each step may take.
struct Limits {
    std::chrono::milliseconds start = std::chrono::seconds(20);
    std::chrono::milliseconds reload = std::chrono::seconds(10);
    std::chrono::milliseconds drain = std::chrono::seconds(5);  ///< for who still calls it
    std::chrono::milliseconds stop = std::chrono::seconds(20);  ///< then it is killed
    std::chrono::milliseconds kill = std::chrono::seconds(5);
};

/// Sleeps between two questions: for 1 ms, and up to 10 ms for somebody who has waited long.
void Pause(std::chrono::milliseconds waited);

enum class Progress { kNotYet, kDone, kInVain };

/// Repeats a question until the answer is kDone (true), or kInVain or `limit` is over (false).
template <class Question>
bool WaitFor(std::chrono::milliseconds limit, Question question)
{
    using std::chrono::milliseconds;
    const auto start = std::chrono::steady_clock::now();
    for (;;) {
        const Progress progress = question();
        if (progress != Progress::kNotYet) return progress == Progress::kDone;
        const auto waited = std::chrono::steady_clock::now() - start;
        if (waited >= limit) return false;
        Pause(std::chrono::duration_cast<milliseconds>(waited));
    }
}

class Supervisor {
public:
    Supervisor(const host::daemons::Daemon& daemon, const Stored& stored);
    Supervisor(const Supervisor&) = delete;
    Supervisor& operator=(const Supervisor&) = delete;
    virtual ~Supervisor();

    const host::daemons::Daemon& Row() const { return daemon_; }
    bool IsWanted() const { return Runs(daemon_, stored_); }

    /// Whether the settings tell if it is to run; reported when not.
    bool IsDecided() const { return stored_.HasAllOf(daemon_); }

    /// Makes it run as the settings ask, with the configuration in force.
    virtual bool BringUp() = 0;

    /// Stops it; returns when none of its processes is left.
    virtual bool TakeDown();

    /// Starts it for its unit, unless it runs. Returns the exit status.
    virtual int Launch();

    /// The id of its main process; 0 when it does not run. A pid file with the number of another
    /// program counts as none.
    pid_t Master() const;

    /// Whether it is up as the settings ask.
    virtual bool IsUp() = 0;

    Limits limits;

protected:
    const Stored& Settings() const { return stored_; }

    /// Prepares what it needs before its start.
    virtual bool Prepare() { return true; }
    /// The command that starts it.
    virtual Command StartCommand() const;
    /// Whether the process in the pid file is really the daemon.
    virtual bool IsOurs(pid_t /*process*/) const { return true; }
    /// Called repeatedly while waiting for its end; connects to daemons that notice a stop only
    /// then.
    virtual void Knock() {}
    /// Called when it has come up.
    virtual bool Finish() { return true; }
    /// Whether these processes without a leader belong to the daemon and are to be stopped.
    virtual bool AreOurs(const ProcessSet& /*orphans*/) const { return true; }

    bool StartAfresh();
    bool StartDaemon();
    bool ComeUp(std::chrono::milliseconds limit);
    bool Fail(const std::string& what) const;

private:
    Progress LookUp(pid_t& seen, std::chrono::steady_clock::time_point& lost);
    bool LaunchCommand();
    bool StartUnit();
    void StopUnit();
    ProcessSet WhatIsLeft() const;
    pid_t NumberInFile() const;

    const host::daemons::Daemon& daemon_;
    const Stored& stored_;
    pid_t before_ = 0;  ///< the number in the pid file before the start
};

/// The supervisor for a daemon of the table.
std::unique_ptr<Supervisor> SupervisorOf(const host::daemons::Daemon& daemon, const Stored& stored);

}  // namespace service
