// One question of the mail server: the lines "name=value" up to an empty one.
#pragma once

#include <cstdio>
#include <map>
#include <string>

namespace rate_policy {

using Attributes = std::map<std::string, std::string>;

/// Reads one question. False at the end of the input, and for what is longer than any question of
/// the mail server: whoever writes that is not it.
bool ReadRequest(std::FILE* input, Attributes& attributes);

}  // namespace rate_policy
