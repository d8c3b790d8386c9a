// JSON as text, in tests and in the bytes that the recorded request object writes.
#pragma once

#include <json/value.h>

#include <string>

namespace recording {

/// On one line, members sorted by name.
std::string Compact(const Json::Value& value);

/// Parses a test's own text; throws `std::logic_error` when it is no JSON.
Json::Value ParseJson(const std::string& text);

/// An object with some members changed or added, which a text names.
Json::Value With(Json::Value object, const std::string& members);

}  // namespace recording
