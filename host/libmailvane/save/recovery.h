// Finishing or undoing what a killed process left under way.
#pragma once

#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/result.h"

namespace host::save {

/// What every operation that changes stored state stands in.
/// Holds the request lock and has an interrupted change finished first.
class WriteScope {
public:
    WriteScope();

    /// Whether anything may be written: not when the lock was not had in time or the interrupted
    /// change could not be finished.
    const Result<void>& ready() const { return ready_; }

private:
    ScopedLock lock_;
    Result<void> ready_;
};

/// Finishes or undoes the change that a killed process left behind, when this process holds the
/// request lock; does nothing otherwise. Fails when the services cannot be brought in line.
Result<void> FinishInterruptedSave();

}  // namespace host::save
