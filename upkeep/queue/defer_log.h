// Why recipients have not got a message yet.
#pragma once

#include <map>
#include <string>

namespace upkeep {

/// The reason of the last attempt, by recipient. Texts of other mail servers: bytes of any kind but
/// control characters, at most 1,000 each. Empty when there is none or it cannot be read.
std::map<std::string, std::string> ReadDeferLog(const std::string& path);

}  // namespace upkeep
