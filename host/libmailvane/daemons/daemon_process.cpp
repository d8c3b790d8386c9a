// Finding the processes of daemons. Reads pid files and /proc.
#include "host/libmailvane/daemons/daemon_process.h"

#include <unistd.h>

#include <array>
#include <cstdlib>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"

namespace host::daemons {

std::string LinkTarget(const std::string& path)
{
    std::array<char, 512> target;
    const ssize_t size = ::readlink(path.c_str(), target.data(), target.size());
    return size < 0 ? "" : std::string(target.data(), static_cast<size_t>(size));
}

std::string DaemonProcess(const std::string& pidFile, const std::string& program)
{
    std::string text;
    if (!ReadFile(Path(pidFile), text)) return "";
    const long pid = std::strtol(text.c_str(), nullptr, 10);
    if (pid <= 0) return "";

    const std::string process = Path("/proc/" + std::to_string(pid));
    const std::string running = LinkTarget(process + "/exe");
    return running == program || running == program + " (deleted)" ? process : "";
}

}  // namespace host::daemons
