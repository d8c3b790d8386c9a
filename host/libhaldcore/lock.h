// The request lock: only one changing request or package tool runs at a time.
#pragma once

#include <chrono>

#include "host/libhaldcore/result.h"

namespace host {

enum class LockResult {
    kHeld,   ///< this process holds the lock
    kBusy,   ///< not obtained in time, or too many are waiting
    kFailed  ///< the lock file cannot be used
};

/// Takes the lock, waiting at most `patience`. Re-entrant: held until `ReleaseLock` is called as
/// often, or the process ends. At most `kMaxWaiters` processes wait at a time. A package tool
/// started by the holder inherits the lock.
LockResult TakeLock(std::chrono::milliseconds patience);
void ReleaseLock();

constexpr int kMaxWaiters = 4;
constexpr std::chrono::milliseconds kLockPatience{30000};

/// Whether any process holds the lock; asks without touching it.
bool LockIsTaken();

/// Whether this process, or the one that started this tool, holds the lock.
bool LockIsHeld();

/// Whether the lock was inherited from the process that started this tool.
bool LockIsInherited();

/// To be called in a forked child: drops the lock, while the parent keeps it.
void ForgetLock();

/// The descriptor by which a package tool inherits the lock, -1 when it is not held, and the
/// environment variable with its number.
int LockDescriptor();
constexpr char kLockVariable[] = "MAILVANE_LOCK_FD";

/// Holds the lock for a scope.
class ScopedLock {
public:
    explicit ScopedLock(std::chrono::milliseconds patience = kLockPatience)
        : result_(TakeLock(patience))
    {
    }
    ~ScopedLock()
    {
        if (held()) ReleaseLock();
    }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

    bool held() const { return result_ == LockResult::kHeld; }

    /// The same, with the reason when it is not held.
    Result<void> ready() const;

private:
    LockResult result_;
};

}  // namespace host
