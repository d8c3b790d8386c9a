// The body of a request, read from standard input.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace kos {

/// Reads exactly the promised bytes. What follows them is left alone, since the web server may
/// keep the stream open. A client that sends nothing for 30 s counts as gone.
class BodyReader {
public:
    /// `descriptor` stays the caller's; `length` in bytes.
    BodyReader(int descriptor, std::uint64_t length) : descriptor_(descriptor), left_(length) {}

    /// Reads up to `size` bytes of the body; 0 at its end. -1 when it was cut short.
    ssize_t Read(char* buffer, std::size_t size);

    /// Reads all that is left into `bytes`; false when it was cut short.
    bool ReadAll(std::string& bytes);

    /// Bytes that were promised and not read yet.
    std::uint64_t left() const { return left_; }

    /// Reads and forgets what is left, for 30 s at most: a web server may cut the answer to a body
    /// that nobody reads.
    void Drain();

private:
    int descriptor_;
    std::uint64_t left_;
};

}  // namespace kos
