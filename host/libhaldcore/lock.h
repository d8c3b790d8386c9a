// The one lock that keeps changing requests and package tools apart.
#pragma once

#include <chrono>

#include "host/libhaldcore/result.h"

namespace host {

enum class LockResult {
    kHeld,   ///< this process holds the lock
    kBusy,   ///< not had in time, or too many wait already
    kFailed  ///< the lock file cannot be used
};

/// Takes the lock exclusively, waiting at most `patience`, and holds it until `ReleaseLock` has
/// been called as often or the process ends. Re-entrant. At most `kMaxWaiters` processes wait at a
/// time. A package tool that was started by the holder inherits the lock and takes none itself.
LockResult TakeLock(std::chrono::milliseconds patience);
void ReleaseLock();

constexpr int kMaxWaiters = 4;
constexpr std::chrono::milliseconds kLockPatience{30000};

/// Whether this process, or the one that started this tool, holds the lock.
bool LockIsHeld();

/// Whether the lock is the one of the process that started this tool.
bool LockIsInherited();

/// In a forked child: forgets the lock without releasing the parent's.
void ForgetLock();

/// The descriptor to hand to a package tool, -1 when the lock is not held; and the variable of the
/// environment that names it there.
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
