// What the header of a request says about its body.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/libkos/refusal.h"

namespace kos {

/// The longest bodies that are taken, in bytes.
constexpr std::uint64_t kMaxFormBytes = std::uint64_t{1} << 20;
constexpr std::uint64_t kMaxJsonBytes = std::uint64_t{4} << 20;
constexpr std::uint64_t kMaxUploadBytes = std::uint64_t{64} << 20;

enum class BodyKind {
    kNone,    ///< no body
    kForm,    ///< parameters, application/x-www-form-urlencoded
    kJson,    ///< application/json, empty or not
    kUpload,  ///< multipart/form-data, empty or not
    kOther    ///< a body of a type that is not taken
};

enum class LengthKind {
    kKnown,     ///< `length` is the promised length; 0 without a body
    kMissing,   ///< a body may follow, its length is not told
    kMalformed  ///< the length is no number of bytes
};

struct BodyHead {
    BodyKind kind = BodyKind::kNone;
    LengthKind lengthKind = LengthKind::kKnown;
    std::uint64_t length = 0;
    std::string boundary;  ///< of an upload; empty when it has none that is allowed
};

/// The headers that tell about the body, as they came.
struct BodyHeaders {
    std::string method;
    std::string type;
    std::string length;  ///< empty when it is absent; some web servers send it empty
    bool chunked = false;
};

/// Makes out kind and length of the body.
BodyHead DescribeBody(const BodyHeaders& headers);

/// The refusal that kind and length of the body call for.
std::optional<Refusal> JudgeBody(const BodyHead& body);

}  // namespace kos
