// The request lock: /var/packages/Mailvane/etc/lock. Byte 0 of the file is the lock, the bytes
// after it are places for waiting processes. The kernel ties these locks to the open file: a
// package tool shares its caller's, and they end with the last descriptor, even after a kill.
#include "host/libhaldcore/lock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/error.h"
#include "host/libhaldcore/paths.h"

namespace host {

namespace {

using Clock = std::chrono::steady_clock;

constexpr off_t kLockByte = 0;
constexpr off_t kFirstPlace = 1;
constexpr timespec kPoll{0, 5'000'000};

int lockFile = -1;         // the lock is held while this is a descriptor
int depth = 0;             // how often this process has taken the lock
bool inherited = false;    // held by the process that started this tool
bool askedCaller = false;  // whether an inherited lock was looked for

std::string LockPath()
{
    return PackagePath("etc/lock");
}

/// Locks or unlocks one byte without waiting; false, with EAGAIN or EACCES, when another holds it.
bool SetByte(int file, off_t byte, short type)
{
    struct flock range = {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = byte;
    range.l_len = 1;
    return fcntl(file, F_OFD_SETLK, &range) == 0;
}

bool TryByte(int file, off_t byte)
{
    return SetByte(file, byte, F_WRLCK);
}

bool HeldByAnother()
{
    return errno == EAGAIN || errno == EACCES;
}

/// Whether the descriptor refers to the lock file and not, by chance, to another file.
bool IsLockFile(int descriptor)
{
    struct stat here;
    struct stat there;
    return fstat(descriptor, &here) == 0 && stat(LockPath().c_str(), &there) == 0 &&
           here.st_dev == there.st_dev && here.st_ino == there.st_ino;
}

/// Uses the lock inherited from the caller of a package tool, if there is one; checked only once.
/// Locking the byte through the caller's open file succeeds when the caller holds it through the
/// same file.
void AdoptCallersLock()
{
    if (askedCaller) return;
    askedCaller = true;

    const char* text = getenv(kLockVariable);
    if (text == nullptr || *text < '0' || *text > '9') return;
    const int descriptor = static_cast<int>(strtol(text, nullptr, 10));
    if (!IsLockFile(descriptor) || !TryByte(descriptor, kLockByte)) return;

    (void)fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    lockFile = descriptor;
    inherited = true;
}

/// Takes a place for waiting; -1 when all are taken.
off_t TakePlace(int file)
{
    for (off_t place = kFirstPlace; place < kFirstPlace + kMaxWaiters; ++place) {
        if (TryByte(file, place)) return place;
    }
    return -1;
}

/// Waits for the lock, which takes a place for waiting.
LockResult WaitFor(int file, std::chrono::milliseconds patience)
{
    const off_t place = TakePlace(file);
    if (place < 0) return LockResult::kBusy;

    const Clock::time_point end = Clock::now() + patience;
    while (!TryByte(file, kLockByte)) {
        if (!HeldByAnother()) return LockResult::kFailed;
        if (Clock::now() >= end) return LockResult::kBusy;
        (void)nanosleep(&kPoll, nullptr);
    }
    (void)SetByte(file, place, F_UNLCK);
    return LockResult::kHeld;
}

LockResult Acquire(int file, std::chrono::milliseconds patience)
{
    if (TryByte(file, kLockByte)) return LockResult::kHeld;
    if (!HeldByAnother()) return LockResult::kFailed;
    return patience > patience.zero() ? WaitFor(file, patience) : LockResult::kBusy;
}

}  // namespace

LockResult TakeLock(std::chrono::milliseconds patience)
{
    AdoptCallersLock();
    if (lockFile >= 0) {
        ++depth;
        return LockResult::kHeld;
    }

    Descriptor file(open(LockPath().c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    const LockResult result = file ? Acquire(file.get(), patience) : LockResult::kFailed;
    if (result != LockResult::kHeld) {
        (void)FailWithErrno();
        return result;
    }

    lockFile = file.Release();
    depth = 1;
    return LockResult::kHeld;
}

void ReleaseLock()
{
    if (depth == 0 || --depth > 0 || inherited) return;

    (void)SetByte(lockFile, kLockByte, F_UNLCK);  // a tool may still have it open
    ForgetLock();
}

Result<void> ScopedLock::ready() const
{
    constexpr char kAbout[] = "request lock";
    switch (result_) {
        case LockResult::kHeld:
            return {};
        case LockResult::kBusy:
            return Reason{ReasonCode::kBusy, kAbout, "the request lock was not had in time"};
        default:
            return Reason{ReasonCode::kSystem, kAbout, "the request lock cannot be used"};
    }
}

bool LockIsTaken()
{
    const Descriptor file(open(LockPath().c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    struct flock range = {};
    range.l_type = F_WRLCK;
    range.l_whence = SEEK_SET;
    range.l_start = kLockByte;
    range.l_len = 1;
    return file && fcntl(file.get(), F_OFD_GETLK, &range) == 0 && range.l_type != F_UNLCK;
}

bool LockIsHeld()
{
    AdoptCallersLock();
    return lockFile >= 0;
}

bool LockIsInherited()
{
    AdoptCallersLock();
    return inherited;
}

void ForgetLock()
{
    if (lockFile >= 0) (void)close(lockFile);
    lockFile = -1;
    depth = 0;
    inherited = false;
    askedCaller = true;
}

int LockDescriptor()
{
    AdoptCallersLock();
    return lockFile;
}

}  // namespace host
