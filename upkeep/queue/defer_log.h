// Why recipients have not got a message yet.
#pragma once

#include <map>
#include <string>

namespace upkeep {

/// The reason of the last attempt, by recipient; both are bytes of strangers. Empty when there is
/// none or it cannot be read. What follows the first 256 KiB of the file is left out.
std::map<std::string, std::string> ReadDeferLog(const std::string& path);

}  // namespace upkeep
