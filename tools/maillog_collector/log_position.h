// A place in the mail server's log.
#pragma once

#include <cstdint>

namespace collector {

/// Where the first line stands that has not been taken in.
struct LogPosition {
    std::int64_t inode = 0;   ///< 0: no log was read yet
    std::int64_t offset = 0;  ///< bytes
    std::int64_t head = 0;    ///< checksum of the bytes before `offset`, of `kHeadSize` at most
    std::int64_t time = 0;    ///< of the last line that was taken in, seconds since the epoch
};

/// An inode number is used again; another file begins with other lines.
constexpr std::int64_t kHeadSize = 128;

}  // namespace collector
