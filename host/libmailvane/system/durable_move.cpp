// Moving files so that a kill or a power failure loses none.
#include "host/libmailvane/system/durable_move.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"

namespace host::system {

namespace {

bool CopyBytes(int from, int to)
{
    std::array<char, 65536> buffer;
    for (;;) {
        const ssize_t count = ::read(from, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return count == 0;
        if (!WriteAll(to, {buffer.data(), static_cast<size_t>(count)})) return false;
    }
}

/// Copies a file with mode and owner, and syncs it.
bool CopyFile(const std::string& from, const std::string& to)
{
    const Descriptor source(::open(from.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (!source) return false;
    const Descriptor target(
        ::open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!target) return false;

    struct stat status {};
    return ::fstat(source.get(), &status) == 0 &&
           ::fchown(target.get(), status.st_uid, status.st_gid) == 0 &&
           ::fchmod(target.get(), status.st_mode & 07777) == 0 &&
           CopyBytes(source.get(), target.get()) && ::fsync(target.get()) == 0;
}

/// Moves a file to another file system: the copy is renamed to `to` once it is complete.
bool MoveByCopy(const std::string& from, const std::string& to)
{
    const std::string unfinished = to + ".part";
    if (!CopyFile(from, unfinished)) return false;
    if (::rename(unfinished.c_str(), to.c_str()) != 0) return false;
    return SyncFolderOf(to) && ::unlink(from.c_str()) == 0;
}

bool TryMove(const std::string& from, const std::string& to)
{
    if (NameExists(to)) {
        errno = EEXIST;
        return false;
    }
    if (::rename(from.c_str(), to.c_str()) != 0) {
        if (errno != EXDEV || !MoveByCopy(from, to)) return false;
    }
    return SyncFolderOf(to) && SyncFolderOf(from);
}

std::string TimeStamp()
{
    const time_t now = ::time(nullptr);
    struct tm parts {};
    ::gmtime_r(&now, &parts);
    std::array<char, 32> text{};
    (void)std::strftime(text.data(), text.size(), "%Y%m%d-%H%M%S", &parts);
    return text.data();
}

/// A free name beside `path`, with the time in it.
std::string NameAside(const std::string& path)
{
    const std::string base = path + ".kept-" + TimeStamp();
    std::string name = base;
    for (int number = 2; NameExists(name); ++number) name = base + "-" + std::to_string(number);
    return name;
}

}  // namespace

bool NameExists(const std::string& path)
{
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

bool SyncPath(const std::string& path)
{
    const Descriptor descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    // Some file systems cannot sync a directory and return EINVAL.
    return descriptor && (::fsync(descriptor.get()) == 0 || errno == EINVAL);
}

bool SyncFolderOf(const std::string& path)
{
    return SyncPath(path.substr(0, path.rfind('/') + 1));
}

Result<void> MoveDurably(const std::string& from, const std::string& to)
{
    if (TryMove(from, to)) return {};
    return SystemReason(from, "cannot move " + from + " to " + to);
}

Result<void> KeepAside(const std::string& path, const char* reason)
{
    // The journal is moved first. Left alone, SQLite would apply it to the next database of that
    // name.
    const std::string aside = NameAside(path);
    const std::string journal = path + "-journal";
    Result<void> moved;
    if (NameExists(journal)) moved = MoveDurably(journal, aside + "-journal");
    if (moved && NameExists(path)) moved = MoveDurably(path, aside);
    if (!moved) return moved;

    Log(LOG_WARNING, "%s %s; kept as %s", path.c_str(), reason, aside.c_str());
    return {};
}

Result<void> RemoveDurably(const std::string& path)
{
    if (::unlink(path.c_str()) != 0) {
        if (errno == ENOENT) return {};
        return SystemReason(path, "cannot remove " + path);
    }
    if (SyncFolderOf(path)) return {};
    return SystemReason(path, "cannot sync the folder of " + path);
}

}  // namespace host::system
