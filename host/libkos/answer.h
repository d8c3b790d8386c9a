// What every answer of the program looks like on standard output.
#pragma once

#include <json/value.h>

namespace kos {

constexpr char kJsonType[] = "application/json; charset=\"UTF-8\"";

/// Writes the end of the header: content type, no caching, no guessing of types, and a blank line.
void WriteHead(const char* contentType);

/// Writes a value as one line of JSON in pure ASCII and hands everything to the web server. Bytes
/// that are no UTF-8 become U+FFFD, so that the answer is JSON whatever the value holds.
void WriteJson(const Json::Value& value);

}  // namespace kos
