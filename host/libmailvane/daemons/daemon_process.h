// The running daemons, found by their pid files.
#pragma once

#include <string>

namespace host::daemons {

/// The folder in /proc of the daemon whose number stands in `pidFile` (absolute), when that process
/// runs `program`, or ran it before an upgrade replaced the file; empty when it does not. A pid
/// file alone proves nothing: the number may belong to another process by now.
std::string DaemonProcess(const std::string& pidFile, const std::string& program);

/// Where a symbolic link leads; empty when it cannot be read.
std::string LinkTarget(const std::string& path);

}  // namespace host::daemons
