// Commands that run as a user other than root.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host::system {

/// The command line that runs `command` as `user`, with only that user's groups and a fresh
/// environment.
std::vector<std::string> AsUser(std::string_view user, const std::vector<std::string>& command);

/// The command line that runs `command` as a user who owns nothing, with the rights of one group,
/// and so that it can never have more.
std::vector<std::string> AsNobody(std::string_view group, const std::vector<std::string>& command);

}  // namespace host::system
