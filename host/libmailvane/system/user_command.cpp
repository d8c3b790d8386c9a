// Commands that run as a user other than root.
#include "host/libmailvane/system/user_command.h"

#include "host/libhaldcore/programs.h"

namespace host::system {

namespace {

std::vector<std::string> Joined(std::vector<std::string> arguments,
                                const std::vector<std::string>& command)
{
    arguments.insert(arguments.end(), {"--reset-env", "--"});
    arguments.insert(arguments.end(), command.begin(), command.end());
    return arguments;
}

}  // namespace

std::vector<std::string> AsUser(std::string_view user, const std::vector<std::string>& command)
{
    const std::string name(user);
    return Joined({programs::kSetpriv, "--reuid=" + name, "--regid=" + name, "--init-groups"},
                  command);
}

std::vector<std::string> AsNobody(std::string_view group, const std::vector<std::string>& command)
{
    return Joined({programs::kSetpriv, "--reuid=nobody", "--regid=" + std::string(group),
                   "--clear-groups", "--no-new-privs"},
                  command);
}

}  // namespace host::system
