// What every operation that changes stored state stands in.
#pragma once

#include "host/libhaldcore/lock.h"

namespace host {

/// Holds the request lock and has an interrupted save finished first.
class WriteScope {
public:
    WriteScope();

    /// False when the lock was not had in time or the interrupted save could not be finished;
    /// nothing may be written then.
    bool ok() const { return ok_; }

private:
    ScopedLock lock_;
    bool ok_;
};

}  // namespace host
