// Commands that are run under a user other than root.
#pragma once

#include <string>
#include <vector>

namespace host::system {

/// The command as it is run under `user` and its groups alone, with a fresh environment.
std::vector<std::string> AsUser(const std::string& user, const std::vector<std::string>& command);

}  // namespace host::system
