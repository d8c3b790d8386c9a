// Type and length of a request's body, by its headers.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/libkos/refusal.h"

namespace kos {

/// The longest accepted bodies, in bytes.
constexpr std::uint64_t kMaxFormBytes = std::uint64_t{1} << 20;
constexpr std::uint64_t kMaxJsonBytes = std::uint64_t{4} << 20;
constexpr std::uint64_t kMaxUploadBytes = std::uint64_t{64} << 20;

enum class BodyKind {
    kNone,    ///< no body
    kForm,    ///< parameters, application/x-www-form-urlencoded
    kJson,    ///< application/json, empty or not
    kUpload,  ///< multipart/form-data, empty or not
    kOther    ///< any other type, which is refused
};

enum class LengthKind {
    kKnown,     ///< `length` is the announced length; 0 without a body
    kMissing,   ///< there may be a body, of unknown length
    kMalformed  ///< the length is not a number
};

struct BodyHead {
    BodyKind kind = BodyKind::kNone;
    LengthKind lengthKind = LengthKind::kKnown;
    std::uint64_t length = 0;
    std::string boundary;  ///< of an upload; empty when missing or invalid
};

/// The headers about the body, unchecked.
struct BodyHeaders {
    std::string method;
    std::string type;
    std::string length;  ///< empty when absent; some web servers pass an empty one
    bool chunked = false;
};

/// Determines type and length of the body.
BodyHead DescribeBody(const BodyHeaders& headers);

/// The refusal because of type or length of the body; nothing when it is accepted.
std::optional<Refusal> JudgeBody(const BodyHead& body);

}  // namespace kos
