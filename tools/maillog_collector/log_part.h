// One file of the mail server's log.
#pragma once

#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/libhaldcore/descriptor.h"
#include "tools/maillog_collector/log_position.h"

namespace collector {

/// The log itself or an older part of it, opened to be read. A part whose name ends in `.gz` is
/// unpacked while it is read; offsets count its unpacked bytes.
class LogPart {
public:
    /// No file.
    LogPart() = default;

    /// Opens the file at `path`; no file when there is none. Throws std::runtime_error when it
    /// cannot be opened.
    explicit LogPart(const std::string& path);

    explicit operator bool() const { return static_cast<bool>(file_); }
    bool IsPacked() const { return packed_ != nullptr; }
    std::int64_t Inode() const { return inode_; }

    /// Size in bytes by now, of a part that is not packed.
    std::int64_t Size() const;

    /// Reads at most `size` bytes from `offset` on. Returns their number; 0 at the end. To go back
    /// in a packed part takes as long as to read it again. Throws std::runtime_error.
    std::size_t Read(std::int64_t offset, char* to, std::size_t size);

    /// Hash of at most `kHeadSize` bytes before `offset`.
    std::int64_t Checksum(std::int64_t offset);

    /// Whether this is the part in which a position lies.
    bool Holds(const LogPosition& position);

private:
    std::string path_;
    host::Descriptor file_;
    std::unique_ptr<gzFile_s, int (*)(gzFile)> packed_{nullptr, gzclose};
    std::int64_t inode_ = 0;
};

/// The name of an older part.
struct LogFile {
    std::string path;
    std::int64_t inode = 0;
    std::pair<std::int64_t, std::int64_t> changed;  ///< seconds, nanoseconds
};

/// The older parts of the log at `path`, which lie beside it under names that begin with its own,
/// the oldest first. Parts that are packed otherwise than by gzip are left out.
std::vector<LogFile> OlderParts(const std::string& path);

}  // namespace collector
