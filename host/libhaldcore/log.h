// The system log as the host libraries use it.
#pragma once

#include <syslog.h>

namespace host {

/// Writes one line to syslog, preceded by the name of the package. Line breaks and control
/// characters in the result are replaced, so that no text from outside forges a line.
/// With MAILVANE_ECHO_LOG in the environment it also goes to standard error, behind its priority as
/// "<3>": mailvanectl tells by that why its own request was refused.
void Log(int priority, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// Why the last system call failed, in words.
const char* ErrnoText();

}  // namespace host
