// Finishing or undoing what a killed process left under way.
#pragma once

#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/result.h"

namespace host::save {

/// The scope of every operation that changes stored state: holds the request lock, and finishes an
/// interrupted change first.
class WriteScope {
public:
    WriteScope();

    /// Success when changes are allowed; the reason when the lock was not obtained in time or the
    /// interrupted change could not be finished.
    const Result<void>& ready() const { return ready_; }

private:
    ScopedLock lock_;
    Result<void> ready_;
};

/// Completes or undoes the change of a killed process. Does nothing unless this process itself took
/// the request lock. Fails when the account databases or stored files cannot be repaired.
Result<void> FinishInterruptedSave();

}  // namespace host::save
