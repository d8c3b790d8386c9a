// One file of the mail server's log.
#include "tools/maillog_collector/log_part.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>

#include "host/libhaldcore/hash.h"
#include "host/libhaldcore/log.h"
#include "tools/maillog_collector/log_fields.h"

namespace collector {
namespace {

/// Whether a part is packed in a way that is not understood here.
bool IsUnreadable(const std::string& name)
{
    const auto ends = {".xz", ".bz2", ".zst"};
    return std::any_of(ends.begin(), ends.end(),
                       [&name](const char* end) { return EndsWith(name, end); });
}

}  // namespace

LogPart::LogPart(const std::string& path)
    : path_(path), file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW))
{
    if (!file_) {
        if (errno == ENOENT) return;
        throw std::runtime_error("cannot open " + path + ": " + host::ErrnoText());
    }
    struct stat status {};
    (void)::fstat(file_.get(), &status);
    inode_ = static_cast<std::int64_t>(status.st_ino);
    if (!EndsWith(path, ".gz")) return;

    const int copy = ::fcntl(file_.get(), F_DUPFD_CLOEXEC, 0);
    packed_.reset(copy < 0 ? nullptr : gzdopen(copy, "rb"));
    if (!packed_) throw std::runtime_error("cannot unpack " + path);
}

std::int64_t LogPart::Size() const
{
    struct stat status {};
    return ::fstat(file_.get(), &status) == 0 ? static_cast<std::int64_t>(status.st_size) : -1;
}

std::size_t LogPart::Read(std::int64_t offset, char* to, std::size_t size)
{
    ssize_t count = -1;
    if (!packed_) {
        count = ::pread(file_.get(), to, size, static_cast<off_t>(offset));
    } else if (gzseek(packed_.get(), static_cast<z_off_t>(offset), SEEK_SET) >= 0) {
        count = gzread(packed_.get(), to, static_cast<unsigned>(size));
    }
    if (count < 0) throw std::runtime_error("cannot read " + path_ + ": " + host::ErrnoText());
    return static_cast<std::size_t>(count);
}

std::int64_t LogPart::Checksum(std::int64_t offset)
{
    char head[kHeadSize];
    const std::size_t size = Read(0, head, static_cast<std::size_t>(std::min(offset, kHeadSize)));
    return static_cast<std::int64_t>(host::Fnv64({head, size}) >> 1);
}

bool LogPart::Holds(const LogPosition& position)
{
    if (position.head != 0 && Checksum(position.offset) != position.head) return false;
    if (packed_) return position.head != 0;  // packing has given it another inode
    return inode_ == position.inode && Size() >= position.offset;
}

std::vector<LogFile> OlderParts(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    const std::string folder = path.substr(0, slash);
    const std::string name = path.substr(slash + 1);
    std::vector<LogFile> parts;
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(::opendir(folder.c_str()), ::closedir);
    while (const dirent* entry = directory ? ::readdir(directory.get()) : nullptr) {
        const std::string other = entry->d_name;
        std::string full = folder;
        full.append("/").append(other);
        struct stat status {};
        if (other == name || other.compare(0, name.size(), name) != 0 || IsUnreadable(other) ||
            ::lstat(full.c_str(), &status) < 0 || !S_ISREG(status.st_mode))
            continue;
        parts.push_back({std::move(full),
                         static_cast<std::int64_t>(status.st_ino),
                         {status.st_mtim.tv_sec, status.st_mtim.tv_nsec}});
    }
    std::sort(parts.begin(), parts.end(), [](const LogFile& one, const LogFile& other) {
        // With equal times, the one with the higher number is older.
        return one.changed != other.changed ? one.changed < other.changed : one.path > other.path;
    });
    return parts;
}

}  // namespace collector
