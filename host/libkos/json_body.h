// Parsing the JSON body of a request.
#pragma once

#include <json/value.h>

#include <memory>
#include <string>

namespace kos {

/// Parses one JSON object: strict JSON without text after it, duplicate names, more than 100 levels
/// a NUL, or what is not UTF-8 (both raw or escaped). Null when invalid; `reason` then tells why.
std::unique_ptr<Json::Value> ParseJsonBody(const std::string& text, const char*& reason);

/// Whether the password in a body was typed, and is not the mask that a form shows instead.
bool TypesPassword(const Json::Value& body);

}  // namespace kos
