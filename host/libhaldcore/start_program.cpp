// Starts programs. Until its exec the child shares this process's memory, which is faster than a
// copy. So it runs on its own stack and makes only plain system calls.
#include "host/libhaldcore/start_program.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <memory>

#include "host/libhaldcore/child_limits.h"
#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/paths.h"

namespace host {

namespace {

constexpr int kHandedLock = 3;  // number of the lock's descriptor in a package tool
constexpr std::size_t kStackSize = 65536;

/// What the child needs, prepared before it starts.
struct Plan {
    std::vector<char*> arguments;
    std::vector<char*> environment;
    ProgramStreams streams;
    int lock = -1;
    int failure = 0;  // errno of the child when exec failed
};

bool IsPackageTool(const std::string& path)
{
    return path.rfind(PackagePath("target/bin/"), 0) == 0;
}

std::vector<std::string> Environment(bool handsLockOver)
{
    std::vector<std::string> environment{
        "PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin",
        "LANG=C.UTF-8",
        geteuid() == 0 ? "HOME=/root" : "HOME=/",
    };
    if (handsLockOver) {
        environment.push_back(std::string(kLockVariable) + '=' + std::to_string(kHandedLock));
    }
    return environment;
}

/// Pointers to the texts for exec, ended by null; exec does not change the texts.
std::vector<char*> Pointers(const std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

/// Runs in the child: resets signal handlers, which would run in the memory shared with the parent.
void DefaultSignals()
{
    struct sigaction standard = {};
    standard.sa_handler = SIG_DFL;
    for (int number = 1; number < NSIG; ++number) (void)sigaction(number, &standard, nullptr);
}

/// Runs in the child: a copy of the descriptor with a number that is not about to be overwritten.
int Lifted(int descriptor)
{
    return descriptor > kHandedLock ? descriptor : fcntl(descriptor, F_DUPFD, kHandedLock + 1);
}

/// Runs in the child: puts streams and lock at their numbers and closes all other descriptors.
bool PlaceDescriptors(const Plan& plan)
{
    const int input = Lifted(plan.streams.input);
    const int output = Lifted(plan.streams.output);
    const int errors = Lifted(plan.streams.errors);
    const int lock = plan.lock >= 0 ? Lifted(plan.lock) : -1;
    if (dup2(input, STDIN_FILENO) < 0 || dup2(output, STDOUT_FILENO) < 0 ||
        dup2(errors, STDERR_FILENO) < 0 || (lock >= 0 && dup2(lock, kHandedLock) < 0)) {
        return false;
    }
    closefrom(lock >= 0 ? kHandedLock + 1 : kHandedLock);
    return true;
}

/// Runs in the child: executes the program.
int Become(void* data)
{
    Plan& plan = *static_cast<Plan*>(data);
    DefaultSignals();
    (void)setpgid(0, 0);
    if (chdir("/") == 0 && PlaceDescriptors(plan)) {
        RestoreLimits();
        (void)umask(S_IWGRP | S_IWOTH);
        sigset_t none;
        sigemptyset(&none);
        (void)sigprocmask(SIG_SETMASK, &none, nullptr);
        (void)execve(plan.arguments[0], plan.arguments.data(), plan.environment.data());
    }
    plan.failure = errno;
    _exit(127);
}

/// Runs `Become` in a new process; returns when exec has succeeded or failed.
pid_t Clone(Plan& plan, int& process)
{
    const std::unique_ptr<char[]> stack(new char[kStackSize]);
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    (void)sigprocmask(SIG_SETMASK, &all, &before);
    const pid_t pid = clone(Become, stack.get() + kStackSize,
                            CLONE_VM | CLONE_VFORK | CLONE_PIDFD | SIGCHLD, &plan, &process);
    (void)sigprocmask(SIG_SETMASK, &before, nullptr);
    return pid;
}

}  // namespace

void ExpectChildren()
{
    struct sigaction action;
    if (sigaction(SIGCHLD, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) {
        action.sa_handler = SIG_DFL;
        (void)sigaction(SIGCHLD, &action, nullptr);
    }
}

Reason CannotBeStarted(const std::string& path)
{
    return SystemReason(path, path + " could not be started");
}

Result<StartedProgram> StartProgram(const std::vector<std::string>& arguments,
                                    const ProgramStreams& streams)
{
    const std::string path = arguments.empty() ? "" : arguments[0];
    if (path.empty() || path[0] != '/') {
        errno = EINVAL;
        return CannotBeStarted(path);
    }

    Plan plan;
    plan.streams = streams;
    plan.lock = IsPackageTool(path) ? LockDescriptor() : -1;
    const std::vector<std::string> environment = Environment(plan.lock >= 0);
    plan.arguments = Pointers(arguments);
    plan.environment = Pointers(environment);

    ExpectChildren();
    int process = -1;
    const pid_t pid = Clone(plan, process);
    if (pid < 0) return CannotBeStarted(path);

    StartedProgram started{pid, Descriptor(process)};
    if (plan.failure == 0) return started;
    (void)waitpid(pid, nullptr, 0);
    errno = plan.failure;
    return CannotBeStarted(path);
}

}  // namespace host
