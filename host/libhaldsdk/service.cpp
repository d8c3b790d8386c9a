// Whether a service is started at boot. Checks the links of systemd and of SysV init instead of
// running systemctl.
#include <glob.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <string>

#include "host/libhaldcore/paths.h"
#include "platform/hlib/accounts.h"

namespace {

constexpr char kNameBytes[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_.@-";

bool Exists(const std::string& pattern)
{
    glob_t matches;
    const bool found = glob(host::Path(pattern).c_str(), GLOB_NOSORT, nullptr, &matches) == 0;
    globfree(&matches);
    return found;
}

/// Whether a unit is masked, which is a link to /dev/null.
bool IsMasked(const std::string& unit)
{
    std::array<char, 16> target = {};
    const std::string path = host::Path("/etc/systemd/system/" + unit);
    const ssize_t length = readlink(path.c_str(), target.data(), target.size() - 1);
    return length > 0 && strcmp(target.data(), "/dev/null") == 0;
}

bool IsFile(const std::string& path)
{
    return access(host::Path(path).c_str(), F_OK) == 0;
}

/// Whether the service is installed. Checked first: usually it is not, and then no links need to be
/// read.
bool IsInstalled(const std::string& name, const std::string& unit)
{
    return IsFile("/lib/systemd/system/" + unit) || IsFile("/etc/systemd/system/" + unit) ||
           IsFile("/etc/init.d/" + name);
}

}  // namespace

int HLIBServiceIsEnabled(const char* service)
{
    if (service == nullptr || *service == '\0' || service[strspn(service, kNameBytes)] != '\0') {
        return 0;
    }

    const std::string name = strcmp(service, "winbindd") == 0 ? "winbind" : service;
    const std::string unit = name + ".service";
    if (!IsInstalled(name, unit) || IsMasked(unit)) return 0;
    return Exists("/etc/systemd/system/*.wants/" + unit) ||
                   Exists("/etc/systemd/system/*.requires/" + unit) ||
                   Exists("/etc/rc[2-5].d/S[0-9][0-9]" + name)
               ? 1
               : 0;
}
