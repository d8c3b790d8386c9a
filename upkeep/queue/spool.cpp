// Where the mail server keeps its queues. Reads main.cf of the configuration in force.
#include "upkeep/queue/spool.h"

#include <sstream>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/text.h"

namespace upkeep {

namespace {

constexpr char kParameter[] = "queue_directory";
constexpr char kUsual[] = "/var/spool/postfix";

}  // namespace

std::string MailServerFiles()
{
    return host::PackagePath("etc/generated/current/postfix");
}

std::string MailSpool()
{
    std::string text;
    (void)host::ReadFile(MailServerFiles() + "/main.cf", text);
    std::string folder = kUsual;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t equals = line.find('=');
        if (equals == std::string::npos || line.front() == ' ') continue;
        if (host::Trim(std::string_view(line).substr(0, equals)) != kParameter) continue;
        folder = host::Trim(std::string_view(line).substr(equals + 1));  // the last one counts
    }
    return host::Path(folder);
}

}  // namespace upkeep
