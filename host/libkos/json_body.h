// A JSON body from a client that may send anything.
#pragma once

#include <json/value.h>

#include <memory>
#include <string>

namespace kos {

/// Reads one JSON object: strict JSON, nothing after it, no name twice, at most 100 levels deep, no
/// NUL, raw or escaped. Null for anything else, with `reason` saying what is wrong.
std::unique_ptr<Json::Value> ParseJsonBody(const std::string& text, const char*& reason);

/// Whether the password in a body is one that somebody typed, and not what a form shows in its
/// place.
bool TypesPassword(const Json::Value& body);

}  // namespace kos
