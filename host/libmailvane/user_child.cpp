// Work in a user's home, done with the user's own rights.
#include "host/libmailvane/user_child.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"

namespace host {

namespace {

/// From here on the process has no rights but the user's.
bool BecomeUser(const MailAccount& account)
{
    return initgroups(account.name.c_str(), account.gid) == 0 &&
           setresgid(account.gid, account.gid, account.gid) == 0 &&
           setresuid(account.uid, account.uid, account.uid) == 0;
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

/// Signals as a program has them at its start, and the end after `limit`.
void BecomeMortal(std::chrono::seconds limit)
{
    sigset_t none;
    sigemptyset(&none);
    (void)sigprocmask(SIG_SETMASK, &none, nullptr);
    (void)alarm(static_cast<unsigned>(limit.count()));
}

/// Whatever is thrown ends the child: it must not go on with the work of its parent.
bool Work(const MailAccount& account, const std::function<bool(int home)>& work) noexcept
{
    if (!BecomeUser(account)) return false;

    const Descriptor home = OpenHome(account);
    return home && work(home.get());
}

}  // namespace

bool RunAsUser(const MailAccount& account, const char* what, std::chrono::seconds limit,
               const std::function<bool(int home)>& work)
{
    const pid_t child = fork();
    if (child == 0) {
        ForgetLock();
        BecomeMortal(limit);
        if (Work(account, work)) _exit(0);
        Log(LOG_ERR, "%s of %s: %s", what, account.name.c_str(), ErrnoText());
        _exit(1);
    }

    int status = 0;
    while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) continue;
    if (child > 0 && WIFEXITED(status)) return WEXITSTATUS(status) == 0;

    Log(LOG_ERR, "%s of %s: its process was not had, or was killed", what, account.name.c_str());
    return false;
}

}  // namespace host
