// The system log.
#pragma once

#include <syslog.h>

namespace host {

/// Writes one line to syslog, after the name of the package. Line breaks and control characters are
/// replaced, so that foreign text cannot forge a line. With MAILVANE_ECHO_LOG in the environment
/// the line also goes to standard error, after its priority as in "<3>"; mailvanectl shows it as
/// the reason of a refusal.
void Log(int priority, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// The error of the last system call (errno) in words.
const char* ErrnoText();

}  // namespace host
