// Output of answers.
#pragma once

#include <json/value.h>

#include <string>

namespace kos {

constexpr char kJsonType[] = "application/json; charset=\"UTF-8\"";

/// Writes the end of the HTTP header: content type, no-store, nosniff, one more line or none, and
/// the blank line.
void WriteHead(const std::string& contentType, const std::string& moreLine = "");

/// Writes a value as one line of ASCII JSON and flushes stdout. Bytes that are not UTF-8 become
/// U+FFFD, so that the JSON is always valid.
void WriteJson(const Json::Value& value);

}  // namespace kos
