// The number of messages that a login may send in an hour.
#include "tools/rate_policy/limits.h"

#include <syslog.h>

#include <cstdlib>
#include <fstream>

namespace rate_policy {

unsigned int LimitOf(const std::string& path, const std::string& login, unsigned int general)
{
    std::ifstream file(path);
    if (!file) syslog(LOG_WARNING, "%s cannot be read, the general limit counts", path.c_str());
    for (std::string line; std::getline(file, line);) {
        const auto blank = line.find(' ');
        if (blank == std::string::npos || line.compare(blank + 1, line.npos, login) != 0) continue;

        return static_cast<unsigned int>(std::strtoul(line.c_str(), nullptr, 10));
    }
    return general;
}

}  // namespace rate_policy
