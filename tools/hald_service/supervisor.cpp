// The supervisor of one daemon.
#include "tools/hald_service/supervisor.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <thread>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/daemons/daemon_process.h"
#include "tools/hald_service/units.h"

namespace service {

using Clock = std::chrono::steady_clock;

void Pause(std::chrono::milliseconds waited)
{
    constexpr std::chrono::milliseconds kShortest{1};
    constexpr std::chrono::milliseconds kLongest{10};
    std::this_thread::sleep_for(std::clamp(waited / 10, kShortest, kLongest));
}

Supervisor::Supervisor(const host::daemons::Daemon& daemon, const Stored& stored)
    : daemon_(daemon), stored_(stored)
{
}

Supervisor::~Supervisor() = default;

bool Supervisor::Fail(const std::string& what) const
{
    Tell(daemon_.service, std::string(daemon_.name) + " " + what);
    return false;
}

pid_t Supervisor::NumberInFile() const
{
    std::string text;
    if (!host::ReadFile(host::Path(std::string(daemon_.pidFile)), text)) return 0;
    return static_cast<pid_t>(std::max(0L, std::strtol(text.c_str(), nullptr, 10)));
}

pid_t Supervisor::Master() const
{
    const std::string process =
        host::daemons::DaemonProcess(std::string(daemon_.pidFile), std::string(daemon_.program));
    if (process.empty()) return 0;

    const auto number =
        static_cast<pid_t>(std::strtol(process.c_str() + process.rfind('/') + 1, nullptr, 10));
    return IsOurs(number) ? number : 0;
}

Command Supervisor::StartCommand() const
{
    Command command;
    command.words = Words(daemon_.command);
    if (daemon_.startsAsUser) command.user = daemon_.user;
    return command;
}

/// Runs the start command. One that stays in the foreground is left running, and its pid file is
/// written.
bool Supervisor::LaunchCommand()
{
    const Command command = StartCommand();
    if (daemon_.launch == host::daemons::Launch::kForks) {
        const auto limit =
            std::max<std::chrono::milliseconds>(limits.start, std::chrono::minutes(1));
        return RunQuietly(daemon_.service, command, limit) || Fail("cannot start");
    }
    const pid_t child = Start(command);
    if (child < 0) return Fail("cannot start");
    const std::string file = host::Path(std::string(daemon_.pidFile));
    if (host::ReplaceFile(file, std::to_string(child) + "\n", 0644)) return true;

    const std::string why = host::ErrnoText();
    (void)kill(child, SIGKILL);
    return Fail("cannot have its pid file: " + why);
}

bool Supervisor::StartDaemon()
{
    before_ = NumberInFile();
    return Prepare() && LaunchCommand() && ComeUp(limits.start) && Finish();
}

/// Whether the daemon is up. In vain when its process has been gone for a second; before that
/// another one may take its place, as when it forks twice.
Progress Supervisor::LookUp(pid_t& seen, Clock::time_point& lost)
{
    while (waitpid(-1, nullptr, WNOHANG) > 0) continue;
    if (IsUp()) return Progress::kDone;

    // A daemon that dies at once is known only by the number that it wrote.
    const pid_t number = NumberInFile();
    if (number != before_) seen = number;
    if (Master() != 0) lost = Clock::now();
    const bool isLost = seen != 0 && Clock::now() - lost > std::chrono::seconds(1);
    return isLost ? Progress::kInVain : Progress::kNotYet;
}

bool Supervisor::ComeUp(std::chrono::milliseconds limit)
{
    pid_t seen = 0;
    Clock::time_point lost = Clock::now();
    return WaitFor(limit, [this, &seen, &lost] { return LookUp(seen, lost); }) ||
           Fail("does not come up");
}

bool Supervisor::StartUnit()
{
    const std::string unit(daemon_.unit);
    before_ = NumberInFile();
    if (BootRecovers()) return Systemctl({"--no-block", "start", unit});
    if (!Systemctl({"start", unit})) return Fail("cannot start, see journalctl -u " + unit);
    return ComeUp(limits.start);
}

bool Supervisor::StartAfresh()
{
    // A daemon stays in the unit that started it, so the old unit must end before the new start.
    if (!Supervisor::TakeDown()) return false;
    return UnderSystemd() ? StartUnit() : StartDaemon();
}

/// Stops its unit. Calls `Knock` meanwhile, since some daemons end only at a connection.
void Supervisor::StopUnit()
{
    const std::string unit(daemon_.unit);
    (void)Systemctl({"--no-block", "stop", unit});
    if (BootRecovers()) return;

    if (const pid_t master = Master(); master != 0) {
        const ProcessSet processes = ProcessSet::Of(master);
        (void)WaitFor(limits.stop, [this, &processes] {
            Knock();
            return processes.AreGone() ? Progress::kDone : Progress::kNotYet;
        });
    }
    (void)Systemctl({"stop", unit});
}

ProcessSet Supervisor::WhatIsLeft() const
{
    const ProcessSet orphans = ProcessSet::Orphans(NumberInFile());
    return !orphans.AreGone() && AreOurs(orphans) ? orphans : ProcessSet();
}

bool Supervisor::TakeDown()
{
    if (UnderSystemd()) StopUnit();
    const pid_t master = Master();
    const ProcessSet processes = master != 0 ? ProcessSet::Of(master) : WhatIsLeft();
    const auto gone = [this, &processes] {
        Knock();
        return processes.AreGone() ? Progress::kDone : Progress::kNotYet;
    };
    if (master != 0) {
        (void)kill(master, SIGTERM);
    } else {
        processes.Signal(SIGTERM);
    }
    if (WaitFor(limits.stop, gone)) return true;
    processes.Signal(SIGKILL);
    return WaitFor(limits.kill, gone) || Fail("does not stop");
}

int Supervisor::Launch()
{
    return StartDaemon() ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace service
