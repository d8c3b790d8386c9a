// Reads the mail server's log as it grows, through its rotations.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/maillog_collector/log_part.h"
#include "tools/maillog_collector/log_position.h"

namespace collector {

/// Follows one log. A log that was moved away (to a name that begins with its own, beside it) is
/// read to its end before its successor, packed by gzip or not; one that was cut off is read from
/// its new start.
class LogTail {
public:
    /// Goes on at `position` of the log at `path`. For a place in no file it begins with the log of
    /// that name; when no file has the place any more, with the oldest part that was written after
    /// the position's time. Throws std::runtime_error.
    LogTail(const std::string& path, const LogPosition& position);

    /// Whether no file had the place any more: lines that were read before may come again.
    bool hasLostPlace() const { return hasLostPlace_; }

    /// The next lines, each with its line feed, valid until the next call; empty when there are no
    /// more by now. Lines that are longer than any of Postfix are left out. Throws
    /// std::runtime_error when the log cannot be read.
    std::string_view Read();

    /// The place of the line that begins `consumed` bytes into what `Read` returned last.
    LogPosition PositionAt(std::size_t consumed);

private:
    void Open(const std::string& path, std::int64_t offset);
    bool Find(const LogPosition& position);
    void OpenOldestAfter(std::int64_t time);
    bool IsOver();
    bool FindNext();
    bool HasChangedBelow();
    void SkipTornLine();
    bool Fill();
    std::string_view WholeLines();

    std::string path_;
    LogPart part_;
    bool hasLostPlace_ = false;
    std::int64_t start_ = 0;    ///< offset of the buffer's first byte
    std::string buffer_;        ///< read, from the start of a line
    std::size_t returned_ = 0;  ///< bytes of it that `Read` returned last
    std::int64_t head_ = 0;
    bool skipping_ = false;  ///< within a line that is too long
};

}  // namespace collector
