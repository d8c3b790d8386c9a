// A daemon behind a unix socket.
#include "tools/hald_service/inner_daemon.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/daemons/daemon_process.h"
#include "host/libmailvane/daemons/sockets.h"

namespace service {

namespace {

using host::Descriptor;

/// A connection to a unix socket; none when nothing listens there.
Descriptor Call(const std::string& socketName, int more)
{
    Descriptor call(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | more, 0));
    sockaddr_un name = {};
    name.sun_family = AF_UNIX;
    (void)std::strncpy(name.sun_path, host::Path(socketName).c_str(), sizeof name.sun_path - 1);
    if (connect(call.get(), reinterpret_cast<sockaddr*>(&name), sizeof name) < 0) call.Close();
    return call;
}

}  // namespace

bool MakePidFile(const host::daemons::Daemon& daemon, const std::string& path)
{
    const Descriptor file(
        open(host::Path(path).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644));
    if (!file) return errno == EEXIST;
    const passwd* const user = getpwnam(std::string(daemon.user).c_str());
    return user != nullptr && fchown(file.get(), user->pw_uid, static_cast<gid_t>(-1)) == 0;
}

void KnockAt(const std::string& socket)
{
    (void)Call(socket, SOCK_NONBLOCK);
}

std::string Ask(const std::string& socket, const std::string& text, std::size_t size)
{
    constexpr timeval kPatience = {5, 0};
    const Descriptor call = Call(socket, 0);
    if (!call) return "";
    (void)setsockopt(call.get(), SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience);
    (void)send(call.get(), text.data(), text.size(), MSG_NOSIGNAL);
    std::string answer(size, '\0');
    const ssize_t got = recv(call.get(), answer.data(), size, MSG_WAITALL);
    answer.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    // Reads the rest: closing with unread bytes resets the connection, which some daemons log as an
    // error.
    (void)shutdown(call.get(), SHUT_WR);
    char rest[256];
    while (recv(call.get(), rest, sizeof rest, 0) > 0) continue;
    return answer;
}

bool Lead(const std::string& name, const std::string& file)
{
    const std::string path = host::Path(name);
    if (host::daemons::LinkTarget(path) == file) return true;

    const std::string waiting = path + ".new";
    (void)unlink(waiting.c_str());
    return symlink(file.c_str(), waiting.c_str()) == 0 &&
           rename(waiting.c_str(), path.c_str()) == 0;
}

bool InnerDaemon::IsUp()
{
    return Master() != 0 && host::daemons::ListensAt(Socket()) && Answers();
}

bool InnerDaemon::IsUpToDate()
{
    return Now().Stands() && IsUp();
}

bool InnerDaemon::BringUp()
{
    if (IsUpToDate()) return true;
    const host::daemons::Reload* const reload = host::daemons::ReloadOf(Row());
    const bool isEnough = reload != nullptr && !Now().NeedsAStart("") && IsUp();
    return (isEnough && Reload(reload->signal)) || StartAfresh();
}

void InnerDaemon::AwaitTheLastCalls(const std::string& socket)
{
    (void)WaitFor(limits.drain, [&socket] {
        return host::daemons::IsCalledAt(socket) ? Progress::kNotYet : Progress::kDone;
    });
}

bool InnerDaemon::TakeDown()
{
    if (host::daemons::IsMilter(Row()) && Master() != 0) AwaitTheLastCalls(Socket());
    return Supervisor::TakeDown();
}

/// Makes it read its files again, as a new program in the same process. Its socket stays meanwhile,
/// so that who calls waits and is not turned away.
bool InnerDaemon::Reload(int signal)
{
    const pid_t master = Master();
    const ProcessSet workers = ProcessSet::WorkersOf(master);
    const std::string program = ProcessSet::Program(master);
    if (master == 0 || !Prepare() || kill(master, signal) != 0) return false;

    const auto check = [&](const auto& isDone) {
        if (kill(master, 0) < 0) return Progress::kInVain;
        return isDone() ? Progress::kDone : Progress::kNotYet;
    };
    const auto isAnother = [&] { return ProcessSet::Program(master) != program; };
    if (!WaitFor(limits.reload, [&] { return check(isAnother); })) return false;
    const auto areGone = [&] { return workers.AreGone(); };
    if (!WaitFor(limits.stop, [&] { return check(areGone); })) workers.Signal(SIGKILL);
    return WaitFor(limits.start, [&] { return check([&] { return IsUp(); }); }) && Finish();
}

/// Makes the daemon's folder, whose files get its group, that of the callers. The pid file is in
/// that folder only when the daemon's user writes it. A pid file that root writes is elsewhere, so
/// that the user cannot make it a link to another file.
bool InnerDaemon::Prepare()
{
    const std::string socket(Row().socket);
    const std::string folder = socket.substr(0, socket.rfind('/'));
    const mode_t mode = Row().user == Row().group ? 0750 : 02750;
    if (!MakeFolder("/run/mailvane", 0755) ||
        !MakeFolder(folder, mode, std::string(Row().user), std::string(Row().group))) {
        return false;
    }
    if (!MakePidFile(Row(), std::string(Row().pidFile)))
        return Fail("cannot have its pid file: " + std::string(host::ErrnoText()));
    if (!Row().pidLink.empty() && !Lead(std::string(Row().pidLink), std::string(Row().pidFile))) {
        return Fail("cannot have its second pid file");
    }
    if (!PrepareMore()) return Fail("cannot have what it needs");
    started_ = Now();
    started_->Forget();
    return true;
}

bool InnerDaemon::Finish()
{
    return started_->Write() || Fail("cannot be noted as started");
}

void InnerDaemon::Knock()
{
    KnockAt(Socket());
}

/// Whether these run the daemon's program. The pid file alone is not trusted: the daemon's user may
/// write it.
bool InnerDaemon::AreOurs(const ProcessSet& orphans) const
{
    const std::vector<pid_t> running = orphans.Running();
    return std::any_of(running.begin(), running.end(), [this](pid_t process) {
        const std::string path = host::Path("/proc/" + std::to_string(process) + "/exe");
        return host::daemons::LinkTarget(path).rfind(Row().program, 0) == 0;
    });
}

}  // namespace service
