// Finding the processes of daemons by their pid files.
#pragma once

#include <string>

namespace host::daemons {

/// The directory in /proc of the process named in `pidFile` (absolute path) when that process runs
/// `program`, or ran it before an upgrade replaced the file; else empty. The program is checked
/// since the number in an old pid file may belong to another process now.
std::string DaemonProcess(const std::string& pidFile, const std::string& program);

/// The target of a symbolic link; empty when it cannot be read.
std::string LinkTarget(const std::string& path);

}  // namespace host::daemons
