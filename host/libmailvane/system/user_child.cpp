// Work in a user's home, done with the user's own rights. The user may stop such a process, and the
// home may lie on a file system that hangs, so the parent waits for a bounded time only.
#include "host/libmailvane/system/user_child.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/start_program.h"

namespace host::system {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kGrace{1000};  // from the kill to the end
constexpr milliseconds kPoll{10};

/// In the child: keeps nothing of the parent's, neither the request lock nor the answer. What is
/// written to the standard streams goes nowhere.
bool LetGo()
{
    ForgetLock();
    closelog();  // its descriptor is about to be closed under it
    closefrom(STDIN_FILENO);
    return open("/dev/null", O_RDWR) == STDIN_FILENO &&
           dup2(STDIN_FILENO, STDOUT_FILENO) == STDOUT_FILENO &&
           dup2(STDIN_FILENO, STDERR_FILENO) == STDERR_FILENO;
}

/// From here on the process has no rights but the user's.
bool BecomeUser(const MailAccount& account)
{
    return initgroups(account.name.c_str(), account.gid) == 0 &&
           setresgid(account.gid, account.gid, account.gid) == 0 &&
           setresuid(account.uid, account.uid, account.uid) == 0;
}

/// Signals as a program has them at its start. The process ends with its parent, after which the
/// lock is free for others.
bool BecomeMortal(pid_t parent)
{
    sigset_t none;
    sigemptyset(&none);
    (void)sigprocmask(SIG_SETMASK, &none, nullptr);
    return prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid() == parent;
}

/// The home, if it is still the user's.
Descriptor OpenHome(const MailAccount& account)
{
    Descriptor home(open(Path(account.home).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat status;
    if (!home || fstat(home.get(), &status) < 0) return Descriptor();
    if (status.st_uid == account.uid) return home;
    errno = EPERM;
    return Descriptor();
}

/// The child's exit status: 0, or the number of the error. Whatever is thrown ends the child: it
/// must not go on with the work of its parent.
int Work(const MailAccount& account, pid_t parent,
         const std::function<bool(int home)>& work) noexcept
{
    errno = 0;
    // A change of the user undoes the wish to end with the parent.
    if (LetGo() && BecomeUser(account) && BecomeMortal(parent)) {
        const Descriptor home = OpenHome(account);
        if (home && work(home.get())) return 0;
    }
    return errno == 0 ? EIO : errno;
}

/// Waits until the child has ended, for `limit` at most; false when it has not. `process` is
/// readable once it has ended; without one, on old kernels, it is asked for again and again.
bool EndsWithin(milliseconds limit, pid_t child, const Descriptor& process, int& status)
{
    const Clock::time_point end = Clock::now() + limit;
    pid_t ended = 0;
    while ((ended = waitpid(child, &status, WNOHANG)) == 0) {
        const auto left = std::chrono::ceil<milliseconds>(end - Clock::now());
        if (left <= left.zero()) return false;

        pollfd wait{process.get(), POLLIN, 0};
        const milliseconds pause = process ? left : std::min(left, kPoll);
        (void)poll(&wait, 1, static_cast<int>(pause.count()));
    }
    if (ended < 0) status = SIGKILL;  // nobody can tell how it went
    return true;
}

/// Why the child has not done its work; empty when it has.
std::string Problem(pid_t child, milliseconds limit)
{
    if (child < 0) return ErrnoText();

    const Descriptor process(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
    int status = 0;
    if (!EndsWithin(limit, child, process, status)) {
        (void)kill(child, SIGKILL);  // the one signal that a stopped process gets
        return EndsWithin(kGrace, child, process, status)
                   ? "its process took too long and was killed"
                   : "its process took too long, cannot even be killed, and is left behind";
    }
    if (WIFSIGNALED(status)) return "its process was killed";
    errno = WEXITSTATUS(status);
    return errno == 0 ? "" : ErrnoText();
}

}  // namespace

bool RunAsUser(const MailAccount& account, const char* what, milliseconds limit,
               const std::function<bool(int home)>& work)
{
    ExpectChildren();
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) _exit(Work(account, parent, work));

    const std::string problem = Problem(child, limit);
    if (problem.empty()) return true;
    Log(LOG_ERR, "%s of %s: %s", what, account.name.c_str(), problem.c_str());
    return false;
}

}  // namespace host::system
