// The hash FNV-1a. It detects accidental changes, not forgery. Hashes are stored, so the function
// never changes. Inline, so that programs that do not link the library can use it.
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

/// `hash` is that of the bytes before, where a text comes in pieces.
constexpr std::uint64_t Fnv64(std::string_view bytes, std::uint64_t hash = 14695981039346656037U)
{
    for (const char byte : bytes) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211U;
    }
    return hash;
}

}  // namespace host
