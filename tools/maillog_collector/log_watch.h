// Waits for the mail server's log to grow.
#pragma once

#include <string>

#include "host/libhaldcore/descriptor.h"

namespace collector {

/// Watches the folder of a log, so that its rotations are seen as well.
class LogWatch {
public:
    explicit LogWatch(const std::string& folder);

    /// Waits until something changed in the folder, at most about a second; lets what belongs
    /// together gather. Returns early on a signal.
    void Wait();

private:
    host::Descriptor events_;
};

}  // namespace collector
