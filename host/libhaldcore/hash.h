// FNV-1a, a short number for a long text: enough to see that something changed by accident, nothing
// against a person. Such numbers are stored, so they never change. Inline, so that a program that
// links no library of the package can use them too.
#pragma once

#include <cstdint>
#include <string_view>

namespace host {

constexpr std::uint32_t Fnv32(std::string_view bytes)
{
    std::uint32_t hash = 2166136261U;
    for (const char byte : bytes) hash = (hash ^ static_cast<unsigned char>(byte)) * 16777619U;
    return hash;
}

constexpr std::uint64_t Fnv64(std::string_view bytes)
{
    std::uint64_t hash = 14695981039346656037U;
    for (const char byte : bytes) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211U;
    }
    return hash;
}

}  // namespace host
