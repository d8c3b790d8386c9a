// Reading and replacing whole files. In world-writable directories, such as /tmp, links are not
// followed and files of other users are refused.
#include "host/libhaldcore/files.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <optional>

#include "host/libhaldcore/descriptor.h"

namespace host {

namespace {

constexpr int kMaxLinks = 16;
constexpr std::size_t kPiece = 65536;

/// A name in an open directory; it need not exist.
struct Place {
    Descriptor directory;
    std::string name;
    bool shared = false;  // the directory is world-writable
};

std::string ParentOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

/// Opens the directory of `path`; `access` is O_RDONLY or O_PATH.
std::optional<Place> OpenPlace(const std::string& path, int access)
{
    Place place;
    place.name = path.substr(path.rfind('/') + 1);  // npos + 1 is 0
    if (place.name.empty() || path.find('\0') != std::string::npos) {
        errno = EINVAL;
        return std::nullopt;
    }

    struct stat status;
    place.directory = Descriptor(open(ParentOf(path).c_str(), access | O_DIRECTORY | O_CLOEXEC));
    if (!place.directory || fstat(place.directory.get(), &status) < 0) return std::nullopt;

    place.shared = (status.st_mode & S_IWOTH) != 0;
    return place;
}

/// The target of the symbolic link at `place`; nothing, with errno EINVAL, when that is no link.
std::optional<std::string> ReadLink(const Place& place)
{
    std::string target(4096, '\0');
    const ssize_t length =
        readlinkat(place.directory.get(), place.name.c_str(), target.data(), target.size());
    if (length < 0) return std::nullopt;

    target.resize(static_cast<std::size_t>(length));
    return target;
}

/// The place of `path` after its symbolic links, whose target may be missing.
std::optional<Place> FollowLinks(std::string path)
{
    for (int links = 0; links < kMaxLinks; ++links) {
        std::optional<Place> place = OpenPlace(path, O_RDONLY);
        if (!place || place->shared) return place;

        const std::optional<std::string> target = ReadLink(*place);
        if (!target) return place;
        path = target->rfind('/', 0) == 0 ? *target : ParentOf(path) + '/' + *target;
    }
    errno = ELOOP;
    return std::nullopt;
}

bool ReadToEnd(int file, off_t expected, std::string& bytes)
{
    constexpr std::size_t kStep = 16384;
    std::string read;
    std::size_t used = 0;
    read.resize(expected > 0 ? static_cast<std::size_t>(expected) + 1 : kStep);
    for (;;) {
        if (used == read.size()) read.resize(read.size() + kStep);
        const ssize_t got = ::read(file, &read[used], read.size() - used);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return false;
        if (got == 0) break;
        used += static_cast<std::size_t>(got);
    }
    read.resize(used);
    bytes = std::move(read);
    return true;
}

/// Creates a file with an unpredictable name and mode 0600; stores the name in `name`.
Descriptor CreateBeside(const Place& place, std::string& name)
{
    std::uint64_t number = 0;
    if (getrandom(&number, sizeof number, 0) != sizeof number) return Descriptor();

    std::array<char, 24> suffix;
    (void)snprintf(suffix.data(), suffix.size(), ".%016jx", static_cast<std::uintmax_t>(number));
    name = "." + place.name.substr(0, 200) + suffix.data();
    return Descriptor(openat(place.directory.get(), name.c_str(),
                             O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
}

/// Gives the new file the owner of the old one, except in a world-writable directory.
bool KeepOwner(const Place& place, int file)
{
    struct stat old;
    if (fstatat(place.directory.get(), place.name.c_str(), &old, AT_SYMLINK_NOFOLLOW) < 0) {
        return errno == ENOENT;
    }
    if (place.shared || (old.st_uid == geteuid() && old.st_gid == getegid())) return true;
    return fchown(file, old.st_uid, old.st_gid) == 0;
}

bool Fill(const Place& place, int file, const std::string& bytes, mode_t mode)
{
    return WriteAll(file, bytes) && KeepOwner(place, file) && fchmod(file, mode) == 0 &&
           fsync(file) == 0;
}

bool IsDirectory(const std::string& path)
{
    struct stat status;
    if (stat(path.c_str(), &status) < 0) return false;
    if (S_ISDIR(status.st_mode)) return true;
    errno = ENOTDIR;
    return false;
}

/// Whether a world-writable directory has at this place what is not a regular file of our own:
/// another user can have put it there, also as a second name of a file elsewhere. Asked before
/// opening, which can block, or fail in many ways. False, with errno, also where nothing is.
bool IsStrangers(const Place& place)
{
    struct stat status;
    if (fstatat(place.directory.get(), place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) < 0) {
        return false;
    }
    return !S_ISREG(status.st_mode) || status.st_uid != geteuid() || status.st_nlink > 1;
}

/// Opens a regular file for reading; an empty descriptor, with errno set, when that cannot be.
Descriptor OpenToRead(const std::string& path, struct stat& status)
{
    const std::optional<Place> place = OpenPlace(path, O_PATH);
    if (!place) return Descriptor();
    if (place->shared && IsStrangers(*place)) {
        errno = EPERM;
        return Descriptor();
    }

    const int flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    Descriptor file(openat(place->directory.get(), place->name.c_str(),
                           flags | (place->shared ? O_NOFOLLOW : 0)));
    if (!file || fstat(file.get(), &status) < 0) return Descriptor();
    if (place->shared && status.st_uid != geteuid()) {
        errno = EPERM;
        return Descriptor();
    }
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return Descriptor();
    }
    return file;
}

}  // namespace

bool ReadFile(const std::string& path, std::string& bytes)
{
    struct stat status;
    const Descriptor file = OpenToRead(path, status);
    return file && ReadToEnd(file.get(), status.st_size, bytes);
}

bool ReadInPieces(const std::string& path, const std::function<void(std::string_view)>& take)
{
    struct stat status;
    const Descriptor file = OpenToRead(path, status);
    if (!file) return false;

    std::string piece(kPiece, '\0');
    for (;;) {
        const ssize_t got = read(file.get(), piece.data(), piece.size());
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return got == 0;
        take({piece.data(), static_cast<std::size_t>(got)});
    }
}

bool ReplaceFile(const std::string& path, const std::string& bytes, mode_t mode)
{
    const std::optional<Place> place = FollowLinks(path);
    if (!place) return false;

    std::string temporary;
    const Descriptor file = CreateBeside(*place, temporary);
    if (!file) return false;

    const int directory = place->directory.get();
    if (!Fill(*place, file.get(), bytes, mode) ||
        renameat(directory, temporary.c_str(), directory, place->name.c_str()) < 0) {
        const int saved = errno;
        (void)unlinkat(directory, temporary.c_str(), 0);
        errno = saved;
        return false;
    }

    // The new file is in place. The result of this fsync is ignored, since some file systems cannot
    // sync directories.
    (void)fsync(directory);
    return true;
}

bool WriteAll(int descriptor, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t put = write(descriptor, bytes.data(), bytes.size());
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(put));
    }
    return true;
}

bool MakeDirectories(const std::string& path, mode_t mode)
{
    if (path.empty()) {
        errno = ENOENT;
        return false;
    }
    if (IsDirectory(path)) return true;
    if (errno != ENOENT) return false;

    for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        const std::string part = path.substr(0, end);
        if (mkdir(part.c_str(), 0700) == 0) {
            if (chmod(part.c_str(), mode) < 0) return false;  // whatever the umask
        } else if (errno != EEXIST) {
            return false;
        }
        if (end == std::string::npos) break;
    }
    return IsDirectory(path);
}

bool ClimbsUp(const std::string& path)
{
    std::size_t start = 0;
    while (start <= path.size()) {
        std::size_t end = path.find('/', start);
        if (end == std::string::npos) end = path.size();
        if (path.compare(start, end - start, "..") == 0) return true;
        start = end + 1;
    }
    return false;
}

}  // namespace host
