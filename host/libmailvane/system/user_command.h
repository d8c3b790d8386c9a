// Commands that run as a user other than root.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host::system {

/// The command line that runs `command` as `user`, with only that user's groups and a fresh
/// environment.
std::vector<std::string> AsUser(std::string_view user, const std::vector<std::string>& command);

}  // namespace host::system
