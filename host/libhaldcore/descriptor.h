// A file descriptor that is closed by its destructor.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace host {

/// Owns a descriptor, or none (-1). Closing does not change errno.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(other.Release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(number_, other.number_);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { Close(); }

    explicit operator bool() const { return number_ >= 0; }
    int get() const { return number_; }

    /// Returns the descriptor, which the caller now owns.
    int Release() { return std::exchange(number_, -1); }

    void Close()
    {
        if (number_ < 0) return;
        const int saved = errno;
        (void)close(Release());
        errno = saved;
    }

private:
    int number_ = -1;
};

}  // namespace host
