// Reads Postfix's log as it grows, across rotations.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/libhaldcore/descriptor.h"
#include "tools/maillog_collector/log_position.h"

namespace collector {

/// The tail of one log. A rotated log (maillog.1 beside maillog) is read to its end before its
/// successor; a truncated one is read from its new beginning.
class LogTail {
public:
    /// Continues at `position` of the log at `path`. When no file matches the position, or it has
    /// no inode, begins with the file at `path`.
    LogTail(const std::string& path, const LogPosition& position);

    /// The next complete lines, with line feeds, valid until the next call; empty when there are no
    /// more now. Lines over 256 KiB are skipped. Throws std::runtime_error when the log cannot be
    /// read.
    std::string_view Read();

    /// The position `consumed` bytes after the beginning of the text that `Read` returned last.
    LogPosition PositionAt(std::size_t consumed) const;

private:
    void Open(const std::string& path, std::int64_t offset);
    bool Find(const LogPosition& position);
    bool FindNext();
    bool HasChangedBelow() const;
    void SkipTornLine();
    bool Fill();
    std::string_view WholeLines();

    std::string path_;
    host::Descriptor file_;
    std::int64_t inode_ = 0;
    std::int64_t start_ = 0;    ///< offset of the buffer in the file
    std::string buffer_;        ///< bytes read; begins at a line
    std::size_t returned_ = 0;  ///< bytes of the buffer that `Read` returned last
    std::int64_t head_ = 0;
    bool skipping_ = false;  ///< within a line that is too long or torn
};

}  // namespace collector
