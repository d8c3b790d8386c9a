// Waiting for Postfix's log to grow.
#pragma once

#include <string>

#include "host/libhaldcore/descriptor.h"

namespace collector {

/// Watches the folder of a log, so that rotations are noticed too.
class LogWatch {
public:
    explicit LogWatch(const std::string& folder);

    /// Waits for a change in the folder, at most about a second, and then 50 ms more for further
    /// lines. Returns early on a signal.
    void Wait();

private:
    host::Descriptor events_;
};

}  // namespace collector
