// Finishing or undoing what a killed process left under way.
#pragma once

#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/result.h"

namespace host::save {

/// What an operation makes of a change that waits to be confirmed.
enum class Unconfirmed {
    kRefuses,  ///< it is not ready
    kPasses    ///< it changes nothing that is stored, or settles that change
};

/// The scope of every operation that changes stored state: holds the request lock, and finishes an
/// interrupted change first. Within another one it is ready as that is.
class WriteScope {
public:
    explicit WriteScope(Unconfirmed unconfirmed = Unconfirmed::kRefuses);
    ~WriteScope();
    WriteScope(const WriteScope&) = delete;
    WriteScope& operator=(const WriteScope&) = delete;

    /// Success when changes are allowed; the reason when the lock was not obtained in time, the
    /// interrupted change could not be finished, or one waits to be confirmed.
    const Result<void>& ready() const { return ready_; }

private:
    ScopedLock lock_;
    Result<void> ready_;
};

/// Completes or undoes the change of a killed process. Does nothing unless this process itself took
/// the request lock. Fails when the account databases or stored files cannot be repaired.
Result<void> FinishInterruptedSave();

}  // namespace host::save
