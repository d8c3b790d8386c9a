// A position in Postfix's log.
#pragma once

#include <cstdint>

namespace collector {

/// The beginning of the first line that was not read and stored.
struct LogPosition {
    std::int64_t inode = 0;   ///< 0: no log was read yet
    std::int64_t offset = 0;  ///< bytes
    std::int64_t head = 0;    ///< checksum of the bytes before `offset`, of `kHeadSize` at most
    std::int64_t time = 0;    ///< of the last line that was taken in, seconds since the epoch
};

/// How many bytes `head` covers. It tells files apart, since inode numbers are used again.
constexpr std::int64_t kHeadSize = 128;

}  // namespace collector
