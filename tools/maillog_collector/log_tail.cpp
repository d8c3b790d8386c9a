// Reads Postfix's log as it grows, across rotations.
#include "tools/maillog_collector/log_tail.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <stdexcept>
#include <utility>

#include "host/libhaldcore/hash.h"
#include "host/libhaldcore/log.h"
#include "tools/maillog_collector/log_fields.h"

namespace collector {
namespace {

constexpr std::size_t kChunk = 262144;  // a longer line is skipped

struct LogFile {
    std::string path;
    std::int64_t inode = 0;
    std::pair<std::int64_t, std::int64_t> changed;  ///< seconds, nanoseconds
};

/// Hash of at most `kHeadSize` bytes before `offset`.
std::int64_t Checksum(int file, std::int64_t offset)
{
    char head[kHeadSize];
    const auto wanted = static_cast<std::size_t>(std::min(offset, kHeadSize));
    const ssize_t count = ::pread(file, head, wanted, 0);
    const auto size = static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    return static_cast<std::int64_t>(host::Fnv64({head, size}) >> 1);
}

std::int64_t SizeOf(int file)
{
    struct stat status {};
    return ::fstat(file, &status) == 0 ? static_cast<std::int64_t>(status.st_size) : -1;
}

bool IsPacked(const std::string& name)
{
    const auto ends = {".gz", ".xz", ".bz2", ".zst"};
    return std::any_of(ends.begin(), ends.end(),
                       [&name](const char* end) { return EndsWith(name, end); });
}

/// The rotated files of the log beside it, oldest first.
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
        if (other == name || other.compare(0, name.size(), name) != 0 || IsPacked(other) ||
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

}  // namespace

LogTail::LogTail(const std::string& path, const LogPosition& position) : path_(path)
{
    if (position.inode == 0) {
        Open(path_, 0);
    } else if (!Find(position)) {
        host::Log(LOG_WARNING, "mail log: the part of %s that was read last is gone", path.c_str());
        Open(path_, 0);
    }
}

/// Opens a file; when there is none, there is nothing to read yet.
void LogTail::Open(const std::string& path, std::int64_t offset)
{
    file_ = host::Descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    if (!file_ && errno != ENOENT)
        throw std::runtime_error("cannot open " + path + ": " + host::ErrnoText());
    struct stat status {};
    if (file_) (void)::fstat(file_.get(), &status);
    inode_ = static_cast<std::int64_t>(status.st_ino);
    start_ = offset;
    buffer_.clear();
    returned_ = 0;
    head_ = 0;
    skipping_ = false;
    if (file_) SkipTornLine();
}

/// Skips the rest of a line when the position is within it.
void LogTail::SkipTornLine()
{
    char before = '\n';
    if (start_ > 0) (void)!::pread(file_.get(), &before, 1, start_ - 1);
    skipping_ = before != '\n';
}

bool LogTail::Find(const LogPosition& position)
{
    std::vector<LogFile> parts = OlderParts(path_);
    parts.push_back({path_, position.inode, {}});
    for (const LogFile& part : parts) {
        if (part.inode != position.inode) continue;
        Open(part.path, position.offset);
        const bool same =
            file_ && inode_ == position.inode && SizeOf(file_.get()) >= position.offset &&
            (position.head == 0 || Checksum(file_.get(), position.offset) == position.head);
        head_ = position.offset >= kHeadSize ? position.head : 0;
        if (same) return true;
    }
    return false;
}

/// Changes to the log's next file once that has data: until then lines may still be added to this
/// one. False when there is no next file yet.
bool LogTail::FindNext()
{
    struct stat current {};
    const bool present = ::stat(path_.c_str(), &current) == 0;
    if (file_ && (!present || static_cast<std::int64_t>(current.st_ino) == inode_)) return false;
    if (!file_) {
        Open(path_, 0);
        return static_cast<bool>(file_);
    }
    if (current.st_size == 0 ||
        SizeOf(file_.get()) > start_ + static_cast<std::int64_t>(buffer_.size()))
        return false;

    const std::vector<LogFile> parts = OlderParts(path_);
    const auto own = std::find_if(parts.begin(), parts.end(),
                                  [this](const LogFile& part) { return part.inode == inode_; });
    const bool between = own != parts.end() && own + 1 != parts.end();
    Open(between ? (own + 1)->path : path_, 0);
    return static_cast<bool>(file_);
}

/// Whether the file was truncated or rewritten before the position read so far.
bool LogTail::HasChangedBelow() const
{
    const std::int64_t end = start_ + static_cast<std::int64_t>(buffer_.size());
    return SizeOf(file_.get()) < end || (head_ != 0 && Checksum(file_.get(), kHeadSize) != head_);
}

/// Reads more bytes; false at the end of the file.
bool LogTail::Fill()
{
    const std::size_t had = buffer_.size();
    buffer_.resize(had + kChunk);
    const ssize_t count = ::pread(file_.get(), buffer_.data() + had, kChunk,
                                  static_cast<off_t>(start_ + static_cast<std::int64_t>(had)));
    buffer_.resize(had + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    if (count < 0) throw std::runtime_error("cannot read " + path_ + ": " + host::ErrnoText());
    return count > 0;
}

/// The complete lines in the buffer, without the rest of a line that is skipped.
std::string_view LogTail::WholeLines()
{
    if (skipping_) {
        const std::size_t end = buffer_.find('\n');
        const std::size_t gone = end == std::string::npos ? buffer_.size() : end + 1;
        buffer_.erase(0, gone);
        start_ += static_cast<std::int64_t>(gone);
        skipping_ = end == std::string::npos;
    }
    const std::size_t end = buffer_.rfind('\n');
    if (end != std::string::npos) {
        returned_ = end + 1;
    } else if (buffer_.size() >= kChunk) {
        start_ += static_cast<std::int64_t>(buffer_.size());
        buffer_.clear();
        skipping_ = true;
    }
    return std::string_view(buffer_).substr(0, returned_);
}

std::string_view LogTail::Read()
{
    buffer_.erase(0, returned_);
    start_ += static_cast<std::int64_t>(returned_);
    returned_ = 0;
    if (file_ && HasChangedBelow()) Open(path_, 0);
    if (file_ && head_ == 0 && start_ >= kHeadSize) head_ = Checksum(file_.get(), kHeadSize);
    for (;;) {
        while (file_ && Fill()) {
            const std::string_view lines = WholeLines();
            if (!lines.empty()) return lines;
        }
        if (!FindNext()) return {};
    }
}

LogPosition LogTail::PositionAt(std::size_t consumed) const
{
    LogPosition position;
    position.inode = inode_;
    position.offset = start_ + static_cast<std::int64_t>(consumed);
    position.head = file_ ? Checksum(file_.get(), position.offset) : 0;
    return position;
}

}  // namespace collector
