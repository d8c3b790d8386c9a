// The types of attachments that the administrator has refused: etc/attachment_types.
#include "host/libmailvane/attachment_types.h"

#include <sstream>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"

namespace host {

std::vector<std::string> AttachmentTypes()
{
    std::string text;
    std::vector<std::string> types;
    (void)ReadFile(PackagePath("etc/attachment_types"), text);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty()) types.push_back(line);
    }
    return types;
}

}  // namespace host
