// Programs and processes: the platform's functions.
#include "platform/hlib/process.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "host/libhaldcore/audit.h"
#include "host/libhaldcore/error.h"
#include "host/libhaldcore/files.h"
#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/noted_reasons.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/run_program.h"

namespace fs = std::filesystem;

namespace {

constexpr std::int64_t kClockSlack = 2000;  // milliseconds by which clocks may differ

bool isBackground = false;  // set in a child of HLIBCProcFork

void DetachStreams()
{
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (null >= 0) {
            (void)dup2(null, stream);
        } else {
            (void)close(stream);
        }
    }
    if (null > STDERR_FILENO) (void)close(null);
}

void BecomeBackground()
{
    isBackground = true;
    (void)setsid();
    DetachStreams();
    host::ForgetLock();
    sigset_t none;
    sigemptyset(&none);
    (void)sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// State and start of a process.
struct ProcessStatus {
    char state = '\0';         ///< the state letter of /proc; NUL when there is no such process
    std::int64_t started = 0;  ///< milliseconds since 1970
};

std::int64_t Milliseconds(const timespec& time)
{
    return std::int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1000000;
}

/// The time of the machine's boot, in milliseconds since 1970.
std::int64_t BootTime()
{
    timespec now{};
    timespec sinceBoot{};
    (void)clock_gettime(CLOCK_REALTIME, &now);
    (void)clock_gettime(CLOCK_BOOTTIME, &sinceBoot);
    return Milliseconds(now) - Milliseconds(sinceBoot);
}

/// Reads /proc/PID/stat. Fields are counted after the process name, which may have blanks and
/// parentheses.
ProcessStatus StatusOf(pid_t pid)
{
    constexpr int kFieldsBetween = 18;  // from the state to the start time, which is in clock ticks
    ProcessStatus process;
    std::string text;
    if (!host::ReadFile("/proc/" + std::to_string(pid) + "/stat", text)) return process;

    std::istringstream fields(text.substr(text.rfind(')') + 1));
    std::string skipped;
    std::int64_t ticks = 0;
    fields >> process.state;
    for (int i = 0; i < kFieldsBetween; ++i) fields >> skipped;
    fields >> ticks;
    process.started = BootTime() + ticks * 1000 / sysconf(_SC_CLK_TCK);
    return process;
}

/// Whether a process runs the program that a pid file is named after, by its own name or by that of
/// its folder: /run/NAME.pid, /run/NAME/pid, /run/NAME/master.pid.
bool RunsNamesake(pid_t pid, const std::string& pidFile)
{
    std::error_code error;
    const fs::path file = fs::canonical(pidFile, error);
    std::string name = file.stem().string();
    if (name == "pid" || name == "master") name = file.parent_path().filename().string();

    std::string command;
    if (error || !host::ReadFile("/proc/" + std::to_string(pid) + "/cmdline", command))
        return false;
    command.resize(std::min(command.find_first_of(std::string_view(" \0", 2)), command.size()));
    return fs::path(command).filename().string().rfind(name, 0) == 0;
}

}  // namespace

int HLIBCExec(const char* path, const char* arg1, const char* arg2, const char* arg3,
              const char* arg4)
{
    if (path == nullptr) return host::Fail(EINVAL);
    std::vector<std::string> arguments{host::Path(path)};
    for (const char* argument : {arg1, arg2, arg3, arg4}) {
        if (argument == nullptr) break;
        arguments.emplace_back(argument);
    }
    if (std::any_of(arguments.begin(), arguments.end(), host::ClimbsUp)) {
        host::Log(LOG_ERR, "%s was not run: an argument climbs up with \"..\"", path);
        return host::Fail(EINVAL);
    }

    host::ProgramOptions options;
    if (isBackground) options.limit = options.limit.zero();  // the tool has its own limit
    if (host::Succeeded(host::RunProgram(arguments, options).done)) return 0;
    host::NoteFailure(std::string(path) + " failed");
    return host::Fail(ECHILD);
}

int HLIBCProcFork()
{
    const pid_t pid = fork();
    if (pid < 0) {
        host::NoteReason(host::SystemReason("process", ""));
        return host::FailWithErrno();
    }
    if (pid == 0) BecomeBackground();
    return pid;
}

int HLIBCProcAliveByPidFile(const char* pidFile)
{
    struct stat file = {};
    std::string text;
    if (pidFile == nullptr || stat(host::Path(pidFile).c_str(), &file) < 0 ||
        !host::ReadFile(host::Path(pidFile), text)) {
        return 0;
    }

    const long pid = strtol(text.c_str(), nullptr, 10);
    if (pid <= 0 || pid > INT32_MAX) return 0;
    const ProcessStatus process = StatusOf(static_cast<pid_t>(pid));
    if (process.state == '\0' || process.state == 'Z' || process.state == 'X') return 0;

    // A process that started after the file was written has only reused the number of the one that
    // wrote it; or the clock was set forward since.
    return process.started <= Milliseconds(file.st_mtim) + kClockSlack ||
                   RunsNamesake(static_cast<pid_t>(pid), host::Path(pidFile))
               ? 1
               : 0;
}
