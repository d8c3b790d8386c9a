// Commands that run as a user other than root.
#include "host/libmailvane/system/user_command.h"

#include "host/libhaldcore/programs.h"

namespace host::system {

std::vector<std::string> AsUser(std::string_view user, const std::vector<std::string>& command)
{
    const std::string name(user);
    std::vector<std::string> arguments{programs::kSetpriv, "--reuid=" + name, "--regid=" + name,
                                       "--init-groups",    "--reset-env",     "--"};
    arguments.insert(arguments.end(), command.begin(), command.end());
    return arguments;
}

}  // namespace host::system
