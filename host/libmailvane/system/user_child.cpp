// Work in a user's home directory, in a child with the user's rights. The user can stop such a
// process, and the file system can hang, so the parent waits for a limited time.
#include "host/libmailvane/system/user_child.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <vector>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/start_program.h"
#include "host/libhaldsdk/account_engine.h"

namespace host::system {

namespace {

using Clock = std::chrono::steady_clock;
using HomeWork = std::function<Result<void>(int home)>;
using std::chrono::milliseconds;

constexpr milliseconds kGrace{1000};  // between SIGKILL and giving up
constexpr milliseconds kPoll{10};
constexpr std::size_t kLongestText = 1000;

/// Where a child, which keeps no descriptor, leaves the reason of its failure: memory that it
/// shares with its parent.
class SharedReason {
public:
    SharedReason()
        : memory_(mmap(nullptr, sizeof(Content), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                       -1, 0))
    {
    }
    ~SharedReason()
    {
        if (*this) (void)munmap(memory_, sizeof(Content));
    }
    SharedReason(const SharedReason&) = delete;
    SharedReason& operator=(const SharedReason&) = delete;

    explicit operator bool() const { return memory_ != MAP_FAILED; }

    /// In the child. The memory began as zeros, so the text ends with one.
    void Put(const Reason& reason)
    {
        content().code = reason.code;
        (void)reason.text.copy(content().text, kLongestText);
    }

    /// In the parent, once the child has ended.
    Reason Take(const std::string& about) const
    {
        return {content().code, about, std::string(content().text)};
    }

private:
    struct Content {
        ReasonCode code;
        char text[kLongestText + 1];
    };

    Content& content() const { return *static_cast<Content*>(memory_); }

    void* memory_;
};

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

/// Takes the groups of a user. Those of a local one stand in the local files: a directory that
/// hangs is not asked for him.
bool TakeGroups(const MailAccount& account)
{
    const auto local = LocalAccounts();
    const auto user = local->FindUser(account.name);
    if (!user || !*user) return initgroups(account.name.c_str(), account.gid) == 0;

    std::vector<gid_t> groups{account.gid};
    const Result<void> read = local->EachGroup([&](const Group& group) {
        const auto& members = group.members;
        const bool isMember =
            std::find(members.begin(), members.end(), account.name) != members.end();
        if (isMember) groups.push_back(group.gid);
    });
    return read && setgroups(groups.size(), groups.data()) == 0;
}

/// Gives up all rights but those of the user.
bool BecomeUser(const MailAccount& account)
{
    return TakeGroups(account) && setresgid(account.gid, account.gid, account.gid) == 0 &&
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
Result<Descriptor> OpenHome(const MailAccount& account)
{
    Descriptor home(open(Path(account.home).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat status;
    if (!home || fstat(home.get(), &status) < 0) {
        return SystemReason(account.home, "cannot open the home directory");
    }
    if (status.st_uid == account.uid) return home;
    return Reason{ReasonCode::kRefused, account.home, "the home directory is not the user's"};
}

Result<void> DoWork(const MailAccount& account, pid_t parent, const HomeWork& work)
{
    // Called last: changing the user clears the request to die with the parent.
    if (!LetGo() || !BecomeUser(account) || !BecomeMortal(parent)) {
        return SystemReason(account.name, "cannot become the user");
    }
    const Result<Descriptor> home = OpenHome(account);
    return home ? work(home->get()) : home.reason();
}

/// The child's exit status: 0, or 1 with the reason in shared memory. Whatever is thrown ends the
/// child: it must not go on with the work of its parent.
int ChildStatus(const MailAccount& account, pid_t parent, const HomeWork& work,
                SharedReason& shared) noexcept
{
    const Result<void> done = DoWork(account, parent, work);
    if (done) return 0;
    shared.Put(done.reason());
    return 1;
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

/// Waits for the child and returns how its work ended.
Result<void> ResultOf(pid_t child, const std::string& user, milliseconds limit,
                      const SharedReason& shared)
{
    const Descriptor process(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
    int status = 0;
    if (!EndsWithin(limit, child, process, status)) {
        (void)kill(child, SIGKILL);  // also ends a stopped process
        const bool ended = EndsWithin(kGrace, child, process, status);
        return Reason{ReasonCode::kOutOfTime, user,
                      ended
                          ? "its process took too long and was killed"
                          : "its process took too long, cannot even be killed, and is left behind"};
    }
    if (WIFSIGNALED(status)) return Reason{ReasonCode::kSystem, user, "its process was killed"};
    if (WEXITSTATUS(status) != 0) return shared.Take(user);
    return {};
}

}  // namespace

Result<void> RunAsUser(const MailAccount& account, const std::string& what, milliseconds limit,
                       const HomeWork& work)
{
    const std::string beginning = what + " of " + account.name;
    SharedReason shared;
    if (!shared) return SystemReason(account.name, beginning);

    ExpectChildren();
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) _exit(ChildStatus(account, parent, work, shared));
    if (child < 0) return SystemReason(account.name, beginning);
    return ResultOf(child, account.name, limit, shared).Prefixed(beginning + ": ");
}

}  // namespace host::system
