// Type and length of a request's body, by its headers.
#include "host/libkos/body_head.h"

#include <charconv>
#include <string_view>

#include "host/libkos/header_value.h"

namespace kos {

namespace {

constexpr std::size_t kMaxBoundary = 70;  // RFC 2046, section 5.1.1

bool IsBoundary(std::string_view text)
{
    constexpr std::string_view kAllowed =
        "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ'()+_,-./:=? ";
    return !text.empty() && text.size() <= kMaxBoundary && text.back() != ' ' &&
           text.find_first_not_of(kAllowed) == std::string_view::npos;
}

void ReadLength(const BodyHeaders& headers, BodyHead& body)
{
    const std::string& text = headers.length;
    if (text.empty()) {
        const bool mayFollow = headers.chunked || headers.method == "POST";
        body.lengthKind = mayFollow ? LengthKind::kMissing : LengthKind::kKnown;
        return;
    }

    const char* const end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, body.length);
    if (result.ec != std::errc() || result.ptr != end) {
        body.lengthKind = LengthKind::kMalformed;
        body.length = 0;
    }
}

BodyKind KindOf(const std::string& type, bool empty)
{
    // With these two types an empty body was lost on the way; it must not count as a request
    // without a body.
    if (type == "application/json") return BodyKind::kJson;
    if (type == "multipart/form-data") return BodyKind::kUpload;
    if (empty) return BodyKind::kNone;
    return type == "application/x-www-form-urlencoded" ? BodyKind::kForm : BodyKind::kOther;
}

std::uint64_t LimitOf(BodyKind kind)
{
    switch (kind) {
        case BodyKind::kForm:
            return kMaxFormBytes;
        case BodyKind::kJson:
            return kMaxJsonBytes;
        default:
            return kMaxUploadBytes;
    }
}

}  // namespace

BodyHead DescribeBody(const BodyHeaders& headers)
{
    BodyHead body;
    ReadLength(headers, body);

    const HeaderValue type = HeaderValue::Parse(headers.type);
    body.kind = KindOf(type.value(), body.lengthKind == LengthKind::kKnown && body.length == 0);
    const std::string boundary = type.Parameter("boundary").value_or("");
    if (body.kind == BodyKind::kUpload && IsBoundary(boundary)) body.boundary = boundary;
    return body;
}

std::optional<Refusal> JudgeBody(const BodyHead& body)
{
    if (body.lengthKind == LengthKind::kMissing) {
        return Refusal{411, "length_required", "a body without a length"};
    }
    if (body.lengthKind == LengthKind::kMalformed) {
        return Refusal{400, "bad_request", "malformed content length"};
    }
    if (body.length > LimitOf(body.kind)) {
        return Refusal{413, "too_large", "a body of " + std::to_string(body.length) + " bytes"};
    }
    if (body.kind == BodyKind::kOther) {
        return Refusal{415, "unsupported_type", "a body of a type that is not taken"};
    }
    if (body.kind == BodyKind::kUpload && body.boundary.empty()) {
        return Refusal{400, "bad_request", "an upload without a boundary"};
    }
    return std::nullopt;
}

}  // namespace kos
