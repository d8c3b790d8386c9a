// Character sets.
#pragma once

#include <string>

namespace upkeep {

/// Text of a character set as UTF-8. What is invalid there, and all of a set that is not known, is
/// left as it stands.
std::string ToUtf8(const std::string& charset, const std::string& text);

}  // namespace upkeep
