// Commands that are run under a user other than root.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host::system {

/// The command as it is run under `user` and its groups alone, with a fresh environment.
std::vector<std::string> AsUser(std::string_view user, const std::vector<std::string>& command);

}  // namespace host::system
