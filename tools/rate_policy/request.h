// A policy request of Postfix: lines "name=value" up to an empty one.
#pragma once

#include <cstdio>
#include <map>
#include <string>

namespace rate_policy {

using Attributes = std::map<std::string, std::string>;

/// Reads one request. False at the end of the input, and for a request longer than any of Postfix.
bool ReadRequest(std::FILE* input, Attributes& attributes);

}  // namespace rate_policy
