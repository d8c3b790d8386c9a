// Work in a user's home directory, in a child with the user's rights. The user can stop such a
// process, and the file system can hang, so the parent waits for a limited time.
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

constexpr milliseconds kGrace{1000};  // between SIGKILL and giving up
constexpr milliseconds kPoll{10};

/// Runs in the child: gives up the request lock and all descriptors of the parent, the response
/// among them. The standard streams lead to /dev/null.
bool LetGo()
{
    ForgetLock();
    closelog();  // which uses a descriptor that the next line closes
    closefrom(STDIN_FILENO);
    return open("/dev/null", O_RDWR) == STDIN_FILENO &&
           dup2(STDIN_FILENO, STDOUT_FILENO) == STDOUT_FILENO &&
           dup2(STDIN_FILENO, STDERR_FILENO) == STDERR_FILENO;
}

/// Gives up all rights but those of the user.
bool BecomeUser(const MailAccount& account)
{
    return initgroups(account.name.c_str(), account.gid) == 0 &&
           setresgid(account.gid, account.gid, account.gid) == 0 &&
           setresuid(account.uid, account.uid, account.uid) == 0;
}

/// Resets signal handling and makes the child die with its parent: the request lock is then free
/// for others.
bool BecomeMortal(pid_t parent)
{
    sigset_t none;
    sigemptyset(&none);
    (void)sigprocmask(SIG_SETMASK, &none, nullptr);
    return prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid() == parent;
}

/// Opens the home directory, if it still belongs to the user.
Descriptor OpenHome(const MailAccount& account)
{
    Descriptor home(open(Path(account.home).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat status;
    if (!home || fstat(home.get(), &status) < 0) return Descriptor();
    if (status.st_uid == account.uid) return home;
    errno = EPERM;
    return Descriptor();
}

/// Runs in the child; returns its exit status, 0 or an errno. noexcept: an exception ends the
/// child, which must not continue as its parent.
int Work(const MailAccount& account, pid_t parent,
         const std::function<bool(int home)>& work) noexcept
{
    errno = 0;
    // Called last: changing the user clears the request to die with the parent.
    if (LetGo() && BecomeUser(account) && BecomeMortal(parent)) {
        const Descriptor home = OpenHome(account);
        if (home && work(home.get())) return 0;
    }
    return errno == 0 ? EIO : errno;
}

/// Waits at most `limit` for the child's end; false when it still runs. `process` is its pidfd,
/// which becomes readable at the end; without one (old kernels) the child is polled.
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
    if (ended < 0) status = SIGKILL;  // the status is lost
    return true;
}

/// Why the child failed; empty when it succeeded.
std::string Problem(pid_t child, milliseconds limit)
{
    if (child < 0) return ErrnoText();

    const Descriptor process(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
    int status = 0;
    if (!EndsWithin(limit, child, process, status)) {
        (void)kill(child, SIGKILL);  // also ends a stopped process
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
