// Reads Postfix's log as it grows, across rotations.
#include "tools/maillog_collector/log_tail.h"

#include <sys/stat.h>

#include <algorithm>
#include <vector>

#include "host/libhaldcore/log.h"

namespace collector {
namespace {

constexpr std::size_t kChunk = 262144;  // a longer line is skipped

}  // namespace

LogTail::LogTail(const std::string& path, const LogPosition& position) : path_(path)
{
    if (position.inode == 0) {
        Open(path_, 0);
    } else if (!Find(position)) {
        host::Log(LOG_WARNING, "mail log: the part of %s that was read last is gone", path.c_str());
        hasLostPlace_ = true;
        OpenOldestAfter(position.time);
    }
}

/// Opens a file; when there is none, there is nothing to read yet.
void LogTail::Open(const std::string& path, std::int64_t offset)
{
    part_ = LogPart(path);
    start_ = offset;
    buffer_.clear();
    returned_ = 0;
    head_ = 0;
    skipping_ = false;
    if (!part_) return;
    if (part_.IsPacked()) head_ = part_.Checksum(kHeadSize);  // to go back for it later takes long
    SkipTornLine();
}

/// Skips the rest of a line when the position is within it.
void LogTail::SkipTornLine()
{
    char before = '\n';
    if (start_ > 0) (void)part_.Read(start_ - 1, &before, 1);
    skipping_ = before != '\n';
}

bool LogTail::Find(const LogPosition& position)
{
    std::vector<LogFile> parts = OlderParts(path_);
    parts.push_back({path_, 0, {}});
    for (const LogFile& part : parts) {
        LogPart candidate(part.path);
        if (!candidate || !candidate.Holds(position)) continue;
        Open(part.path, position.offset);
        if (position.offset >= kHeadSize) head_ = position.head;
        return true;
    }
    return false;
}

/// Begins with the oldest part that was written after a moment (seconds since the epoch).
void LogTail::OpenOldestAfter(std::int64_t time)
{
    for (const LogFile& part : OlderParts(path_)) {
        if (part.changed.first < time) continue;
        Open(part.path, 0);
        return;
    }
    Open(path_, 0);
}

/// Whether the log itself is still to come after the part that is being read, and lines are no more
/// added to that one.
bool LogTail::IsOver()
{
    if (part_.IsPacked()) return true;
    struct stat current {};
    return ::stat(path_.c_str(), &current) == 0 && current.st_size > 0 &&
           static_cast<std::int64_t>(current.st_ino) != part_.Inode() &&
           part_.Size() <= start_ + static_cast<std::int64_t>(buffer_.size());
}

/// Changes to the log's next file once that has data: until then lines may still be added to this
/// one. False when there is no next file yet.
bool LogTail::FindNext()
{
    if (!part_) {
        Open(path_, 0);
        return static_cast<bool>(part_);
    }
    if (!IsOver()) return false;

    // It may have been packed meanwhile.
    const LogPosition place = PositionAt(returned_);
    const std::vector<LogFile> parts = OlderParts(path_);
    const auto own = std::find_if(parts.begin(), parts.end(), [&place](const LogFile& part) {
        return part.inode == place.inode || LogPart(part.path).Holds(place);
    });
    const bool between = own != parts.end() && own + 1 != parts.end();
    Open(between ? (own + 1)->path : path_, 0);
    return static_cast<bool>(part_);
}

/// Whether the file was truncated or rewritten before the position read so far.
bool LogTail::HasChangedBelow()
{
    if (part_.IsPacked()) return false;
    const std::int64_t end = start_ + static_cast<std::int64_t>(buffer_.size());
    return part_.Size() < end || (head_ != 0 && part_.Checksum(kHeadSize) != head_);
}

/// Reads more bytes; false at the end of the file.
bool LogTail::Fill()
{
    const std::size_t had = buffer_.size();
    buffer_.resize(had + kChunk);
    const std::size_t count =
        part_.Read(start_ + static_cast<std::int64_t>(had), buffer_.data() + had, kChunk);
    buffer_.resize(had + count);
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
    if (part_ && HasChangedBelow()) Open(path_, 0);
    if (part_ && head_ == 0 && start_ >= kHeadSize) head_ = part_.Checksum(kHeadSize);
    for (;;) {
        while (part_ && Fill()) {
            const std::string_view lines = WholeLines();
            if (!lines.empty()) return lines;
        }
        if (!FindNext()) return {};
    }
}

LogPosition LogTail::PositionAt(std::size_t consumed)
{
    LogPosition position;
    position.inode = part_.Inode();
    position.offset = start_ + static_cast<std::int64_t>(consumed);
    const bool isKnown = head_ != 0 && position.offset >= kHeadSize;
    if (part_) position.head = isKnown ? head_ : part_.Checksum(position.offset);
    return position;
}

}  // namespace collector
