// Starting the command of a daemon.
#include "tools/hald_service/launch.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <optional>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/daemons/daemons.h"
#include "tools/hald_service/stored.h"

namespace service {

namespace {

const char kPath[] = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";

/// What the child needs, prepared before the fork.
struct Plan {
    std::vector<std::string> environment;
    host::Descriptor input;
    host::Descriptor output;
    mode_t mask = 022;
    bool changesUser = false;
    uid_t user = 0;
    gid_t group = 0;
    std::string name;
};

std::vector<char*> Pointers(const std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

bool TakeUser(const std::string& name, bool isBare, Plan& plan)
{
    plan.environment.emplace_back(kPath);
    if (isBare) return true;
    plan.environment.emplace_back("LC_ALL=C");
    if (name.empty()) {
        plan.environment.emplace_back("HOME=/root");
        return true;
    }
    const passwd* const account = getpwnam(name.c_str());
    if (account == nullptr) return false;
    plan.changesUser = true;
    plan.name = name;
    plan.user = account->pw_uid;
    plan.group = account->pw_gid;
    plan.environment.push_back(std::string("HOME=") + account->pw_dir);
    plan.environment.push_back("USER=" + name);
    plan.environment.push_back("LOGNAME=" + name);
    plan.environment.emplace_back("SHELL=/bin/sh");
    return true;
}

std::optional<Plan> PlanOf(const Command& command)
{
    Plan plan;
    const std::string output = command.output.empty() ? "/dev/null" : command.output;
    const int how = command.appends || command.output.empty() ? O_APPEND : O_TRUNC;
    plan.input = host::Descriptor(open("/dev/null", O_RDONLY | O_CLOEXEC));
    plan.output = host::Descriptor(
        open(output.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | how, 0644));
    if (!plan.input || !plan.output || !TakeUser(command.user, command.isBare, plan))
        return std::nullopt;
    plan.environment.insert(plan.environment.end(), command.environment.begin(),
                            command.environment.end());
    plan.mask = command.mask;
    return plan;
}

/// Runs in the child: takes on user and groups.
bool BecomeUser(const Plan& plan)
{
    return !plan.changesUser || (initgroups(plan.name.c_str(), plan.group) == 0 &&
                                 setresgid(plan.group, plan.group, plan.group) == 0 &&
                                 setresuid(plan.user, plan.user, plan.user) == 0);
}

/// Runs in the child: executes the command.
[[noreturn]] void Become(const Command& command, const Plan& plan)
{
    (void)setsid();
    for (int number = 1; number < NSIG; ++number) (void)std::signal(number, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    (void)sigprocmask(SIG_SETMASK, &none, nullptr);
    (void)umask(plan.mask);
    const bool isReady = dup2(plan.input.get(), STDIN_FILENO) >= 0 &&
                         dup2(plan.output.get(), STDOUT_FILENO) >= 0 &&
                         dup2(plan.output.get(), STDERR_FILENO) >= 0 && chdir("/") == 0;
    closefrom(STDERR_FILENO + 1);
    if (isReady && BecomeUser(plan)) {
        const std::vector<char*> words = Pointers(command.words);
        const std::vector<char*> environment = Pointers(plan.environment);
        (void)execve(words[0], words.data(), environment.data());
    }
    Tell(command.words[0], host::ErrnoText());
    _exit(127);
}

/// Waits for a child's exit status; -1 when it was killed by a signal, or by this function after
/// `limit`.
int Await(pid_t child, std::chrono::milliseconds limit)
{
    const host::Descriptor process(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
    pollfd wait{process.get(), POLLIN, 0};
    int ready = 0;
    do {
        ready = poll(&wait, 1, static_cast<int>(limit.count()));
    } while (ready < 0 && errno == EINTR);
    if (ready <= 0) (void)kill(-child, SIGKILL);
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

std::vector<std::string> Words(std::string_view text)
{
    std::vector<std::string> words;
    while (!text.empty()) words.emplace_back(host::daemons::NextWord(text));
    return words;
}

pid_t Start(const Command& command)
{
    const auto plan = PlanOf(command);
    const pid_t child = plan ? fork() : -1;
    if (child == 0) Become(command, *plan);
    if (child < 0) Tell(command.words[0], "cannot be started: " + std::string(host::ErrnoText()));
    return child;
}

int Run(const Command& command, std::chrono::milliseconds limit)
{
    const pid_t child = Start(command);
    return child < 0 ? -1 : Await(child, limit);
}

std::string MessagesOf(std::string_view service)
{
    return host::Path("/run/mailvane/" + std::string(service) + ".messages");
}

bool RunQuietly(std::string_view service, Command command, std::chrono::milliseconds limit)
{
    if (!MakeFolder("/run/mailvane", 0755)) return false;
    command.output = MessagesOf(service);
    if (Run(command, limit) == 0) return true;

    std::string messages;
    if (host::ReadFile(command.output, messages)) (void)!write(2, messages.data(), messages.size());
    return false;
}

bool MakeFolder(const std::string& path, mode_t mode, const std::string& user,
                const std::string& group)
{
    const std::string real = host::Path(path);
    const passwd* const owner = user.empty() ? nullptr : getpwnam(user.c_str());
    const struct group* const members = group.empty() ? nullptr : getgrnam(group.c_str());
    if ((!user.empty() && owner == nullptr) || (!group.empty() && members == nullptr)) {
        Tell(path, "there is no " + user + " or " + group);
        return false;
    }
    if (mkdir(real.c_str(), mode) < 0 && errno != EEXIST) {
        Tell(path, host::ErrnoText());
        return false;
    }
    const host::Descriptor folder(
        open(real.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    const bool isOwned = owner == nullptr || members == nullptr ||
                         fchown(folder.get(), owner->pw_uid, members->gr_gid) == 0;
    if (folder && isOwned && (owner == nullptr || fchmod(folder.get(), mode) == 0)) return true;
    Tell(path, host::ErrnoText());
    return false;
}

}  // namespace service
