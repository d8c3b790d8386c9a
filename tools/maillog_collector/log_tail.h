// Reads Postfix's log as it grows, across rotations.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/maillog_collector/log_part.h"
#include "tools/maillog_collector/log_position.h"

namespace collector {

/// The tail of one log. A rotated log (maillog.1 or maillog.1.gz beside maillog) is read to its end
/// before its successor; a truncated one is read from its new beginning.
class LogTail {
public:
    /// Continues at `position` of the log at `path`. A position without an inode begins with the
    /// file at `path`; one that no file matches any more, with the oldest part that was written
    /// after the position's time. Throws std::runtime_error.
    LogTail(const std::string& path, const LogPosition& position);

    /// Whether no file matched the position: lines that were read before may come again.
    bool HasLostPlace() const { return hasLostPlace_; }

    /// The next complete lines, with line feeds, valid until the next call; empty when there are no
    /// more now. Lines over 256 KiB are skipped. Throws std::runtime_error when the log cannot be
    /// read.
    std::string_view Read();

    /// The position `consumed` bytes after the beginning of the text that `Read` returned last.
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
    std::int64_t start_ = 0;    ///< offset of the buffer in the file
    std::string buffer_;        ///< bytes read; begins at a line
    std::size_t returned_ = 0;  ///< bytes of the buffer that `Read` returned last
    std::int64_t head_ = 0;
    bool skipping_ = false;  ///< within a line that is too long or torn
};

}  // namespace collector
