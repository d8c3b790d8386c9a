// The body of a request, read from standard input.
#include "host/libkos/body_reader.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>

namespace kos {

namespace {

constexpr int kPatience = 30000;  // milliseconds
constexpr std::size_t kStep = 65536;

bool WaitForInput(int descriptor)
{
    struct pollfd input = {descriptor, POLLIN, 0};
    int ready;
    do {
        ready = poll(&input, 1, kPatience);
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
}

}  // namespace

ssize_t BodyReader::Read(char* buffer, std::size_t size)
{
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(size, left_));
    if (wanted == 0) return 0;
    if (!WaitForInput(descriptor_)) return -1;

    ssize_t got;
    do {
        got = read(descriptor_, buffer, wanted);
    } while (got < 0 && errno == EINTR);
    if (got <= 0) return -1;

    left_ -= static_cast<std::uint64_t>(got);
    return got;
}

bool BodyReader::ReadAll(std::string& bytes)
{
    // Memory is allocated for received bytes only: the announced length may be false.
    std::array<char, kStep> buffer;
    while (left_ > 0) {
        const ssize_t got = Read(buffer.data(), buffer.size());
        if (got < 0) return false;
        bytes.append(buffer.data(), static_cast<std::size_t>(got));
    }
    return true;
}

void BodyReader::Drain()
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(kPatience);
    std::array<char, kStep> buffer;
    while (left_ > 0 && Clock::now() < end) {
        if (Read(buffer.data(), buffer.size()) < 0) break;
    }
    left_ = 0;
}

}  // namespace kos
