// The units of the daemons, on machines with systemd.
#include "tools/hald_service/units.h"

#include <sys/stat.h>
#include <unistd.h>

#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"
#include "tools/hald_service/launch.h"

namespace service {

namespace {

bool IsThere(const std::string& path)
{
    return access(host::Path(path).c_str(), F_OK) == 0;
}

}  // namespace

bool UnderSystemd()
{
    return IsThere("/run/systemd/system");
}

bool HandedOver()
{
    return !UnderSystemd() || access(host::PackagePath("etc/adopted").c_str(), F_OK) == 0;
}

bool BootRecovers()
{
    return IsThere("/run/mailvane-recover");
}

bool Systemctl(std::vector<std::string> words)
{
    Command command;
    command.words = std::move(words);
    command.words.insert(command.words.begin(), host::programs::kSystemctl);
    command.environment = {"SYSTEMCTL_SKIP_SYSV=1"};
    // Callers give up after two minutes.
    return RunQuietly("systemctl", command, std::chrono::seconds(110));
}

bool FollowAtBoot(const host::daemons::Daemon& daemon, bool isWanted)
{
    const std::string unit(daemon.bootUnit.empty() ? daemon.unit : daemon.bootUnit);
    const std::string link = host::Path("/etc/systemd/system/multi-user.target.wants/" + unit);
    struct stat info {};
    const bool isEnabled = lstat(link.c_str(), &info) == 0;
    if (isEnabled == isWanted) return true;
    return Systemctl({"--quiet", isWanted ? "enable" : "disable", unit});
}

}  // namespace service
