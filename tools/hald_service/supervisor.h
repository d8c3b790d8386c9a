// One daemon and what is done with it. Every verb brings it to a state and returns when that is
// true, whatever state it was in.
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
    std::chrono::milliseconds stop = std::chrono::seconds(20);  ///< before it is killed
    std::chrono::milliseconds kill = std::chrono::seconds(5);
};

/// A hundredth of a second.
void Pause();

enum class Progress { kNotYet, kDone, kInVain };

/// Repeats a question until it says that it is done or in vain, or time is up.
template <class Question>
bool WaitFor(std::chrono::milliseconds limit, Question question)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    for (;;) {
        const Progress progress = question();
        if (progress != Progress::kNotYet) return progress == Progress::kDone;
        if (std::chrono::steady_clock::now() >= end) return false;
        Pause();
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

    /// Whether the settings say that at all; told when not.
    bool IsDecided() const { return stored_.HasAllOf(daemon_); }

    /// To what the settings ask for.
    virtual bool BringUp() = 0;

    /// Until none of its processes runs.
    virtual bool TakeDown();

    /// What its unit does: starts it where none of it runs. The exit status.
    virtual int Launch();

    /// Its number, when it runs; 0 when not. A stale pid file, or one that by now names another
    /// program, does not count.
    pid_t Master() const;

    /// Whether it is up, as the settings ask.
    virtual bool IsUp() = 0;

    Limits limits;

protected:
    const Stored& Settings() const { return stored_; }

    /// Makes what it needs before it starts.
    virtual bool Prepare() { return true; }
    /// What starts it.
    virtual Command StartCommand() const;
    /// Whether the process that the pid file names is the daemon's.
    virtual bool IsOurs(pid_t /*process*/) const { return true; }
    /// What waiting for its end does again and again: some look when they are called.
    virtual void Knock() {}
    /// After it has come up.
    virtual bool Finish() { return true; }
    /// Whether processes that outlived their daemon are to be ended.
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
    pid_t before_ = 0;  ///< the number in its file before it was started
};

/// The one that knows the daemon's ways.
std::unique_ptr<Supervisor> SupervisorOf(const host::daemons::Daemon& daemon, const Stored& stored);

}  // namespace service
