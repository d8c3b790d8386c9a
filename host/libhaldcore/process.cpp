// Programs and processes for the program.
#include "platform/hlib/process.h"

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "host/libhaldcore/error.h"
#include "host/libhaldcore/files.h"
#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/run_program.h"

namespace {

bool isBackground = false;  // in a child of HLIBCProcFork

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

/// The state letter of /proc/PID/stat: it follows the name, which may itself hold parentheses.
char ProcessState(pid_t pid)
{
    std::string status;
    if (!host::ReadFile("/proc/" + std::to_string(pid) + "/stat", status)) return '\0';
    const std::size_t name = status.rfind(')');
    return name != std::string::npos && name + 2 < status.size() ? status[name + 2] : '\0';
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
    if (isBackground) options.limit = options.limit.zero();  // the tool has a limit of its own
    return host::RunProgram(arguments, options).Succeeded() ? 0 : host::Fail(ECHILD);
}

int HLIBCProcFork()
{
    const pid_t pid = fork();
    if (pid < 0) return host::FailWithErrno();
    if (pid == 0) BecomeBackground();
    return pid;
}

int HLIBCProcAliveByPidFile(const char* pidFile)
{
    std::string text;
    if (pidFile == nullptr || !host::ReadFile(host::Path(pidFile), text)) return 0;

    const long pid = strtol(text.c_str(), nullptr, 10);
    if (pid <= 0 || pid > INT32_MAX) return 0;
    const char state = ProcessState(static_cast<pid_t>(pid));
    return state != '\0' && state != 'Z' && state != 'X' ? 1 : 0;
}
