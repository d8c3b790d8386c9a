// Commands that run as a user other than root.
#include "host/libmailvane/system/user_command.h"

#include "host/libhaldcore/programs.h"

namespace host::system {

std::vector<std::string> AsUser(const std::string& user, const std::vector<std::string>& command)
{
    std::vector<std::string> arguments{programs::kSetpriv, "--reuid=" + user, "--regid=" + user,
                                       "--init-groups",    "--reset-env",     "--"};
    arguments.insert(arguments.end(), command.begin(), command.end());
    return arguments;
}

}  // namespace host::system
