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
#include <cstring>
#include <filesystem>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/run_program.h"
#include "host/libmailvane/daemons/daemon_process.h"
#include "host/libmailvane/daemons/sockets.h"

namespace service {

namespace {

namespace fs = std::filesystem;

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

/// Creates an empty pid file that belongs to the daemon's user, who writes the number; an existing
/// one is kept.
bool MakePidFile(const host::daemons::Daemon& daemon)
{
    const Descriptor file(open(host::Path(std::string(daemon.pidFile)).c_str(),
                               O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644));
    if (!file) return errno == EEXIST;
    const passwd* const user = getpwnam(std::string(daemon.user).c_str());
    return user != nullptr && fchown(file.get(), user->pw_uid, static_cast<gid_t>(-1)) == 0;
}

/// Adds all existing files below a path, following links.
void AddFiles(const fs::path& path, std::vector<std::string>& files)
{
    std::error_code error;
    if (fs::is_regular_file(path, error)) files.push_back(path.string());
    if (!fs::is_directory(path, error)) return;
    for (const auto& entry : fs::directory_iterator(path, error)) AddFiles(entry.path(), files);
}

}  // namespace

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

std::string InnerDaemon::StartedFile() const
{
    return host::Path("/run/mailvane/" + std::string(Row().name) + ".started");
}

/// What the daemon is started with: command, settings, and digests of its files.
std::string InnerDaemon::Fingerprint() const
{
    std::string text(Row().command);
    std::string_view names = Row().settings;
    while (!names.empty()) text += "\n" + Settings().Text(host::daemons::NextWord(names));

    std::vector<std::string> files = MoreFiles();
    std::string_view parts = Row().files;
    while (!parts.empty()) {
        const std::string part(host::daemons::NextWord(parts));
        AddFiles(host::PackagePath("etc/generated/current/" + part), files);
    }
    if (files.empty()) return text + "\n";
    std::sort(files.begin(), files.end());
    files.insert(files.begin(), "/usr/bin/sha256sum");
    host::ProgramOptions options;
    options.capture = true;
    return text + "\n" + host::RunProgram(files, options).output;
}

bool InnerDaemon::IsUp()
{
    return Master() != 0 && host::daemons::ListensAt(std::string(Row().socket)) && Answers();
}

bool InnerDaemon::IsUpToDate()
{
    std::string started;
    return host::ReadFile(StartedFile(), started) && started == Fingerprint() && IsUp();
}

bool InnerDaemon::BringUp()
{
    return IsUpToDate() || StartAfresh();
}

/// Makes the daemon's folder. The pid file is in that folder only when the daemon's user writes it.
/// A pid file that root writes is elsewhere, so that the user cannot make it a link to another
/// file.
bool InnerDaemon::Prepare()
{
    const std::string socket(Row().socket);
    const std::string folder = socket.substr(0, socket.rfind('/'));
    if (!MakeFolder("/run/mailvane", 0755) ||
        !MakeFolder(folder, 02750, std::string(Row().user), std::string(Row().group))) {
        return false;
    }
    if (!MakePidFile(Row()))
        return Fail("cannot have its pid file: " + std::string(host::ErrnoText()));
    if (!Row().pidLink.empty() && !Lead(std::string(Row().pidLink), std::string(Row().pidFile))) {
        return Fail("cannot have its second pid file");
    }
    if (!PrepareMore()) return Fail("cannot have what it needs");
    started_ = Fingerprint();
    (void)unlink(StartedFile().c_str());
    return true;
}

bool InnerDaemon::Finish()
{
    return host::ReplaceFile(StartedFile(), started_, 0644) || Fail("cannot be noted as started");
}

/// Connects once: a filter that is stopping notices that at a connection, else only every five
/// seconds.
void InnerDaemon::Knock()
{
    (void)Call(std::string(Row().socket), SOCK_NONBLOCK);
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
