// The body of a request, read from standard input.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace kos {

/// Reads exactly the announced number of bytes and not what follows, since the web server may keep
/// the stream open. A client that sends nothing for 30 s counts as disconnected.
class BodyReader {
public:
    /// `descriptor` is not closed by this object; `length` is in bytes.
    BodyReader(int descriptor, std::uint64_t length) : descriptor_(descriptor), left_(length) {}

    /// Reads up to `size` bytes; 0 at the end of the body, -1 when the client stops before.
    ssize_t Read(char* buffer, std::size_t size);

    /// Reads all remaining bytes into `bytes`; false when the client stops before the end.
    bool ReadAll(std::string& bytes);

    /// The announced bytes that have not been read.
    std::uint64_t left() const { return left_; }

    /// Reads and drops the remaining bytes, for 30 s at most: some web servers truncate an answer
    /// when the body was not read.
    void Drain();

private:
    int descriptor_;
    std::uint64_t left_;
};

}  // namespace kos
