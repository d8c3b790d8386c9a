// Copies of files and folders.
#include "host/libmailvane/system/copies.h"

#include <cerrno>
#include <filesystem>

#include "host/libmailvane/system/durable_move.h"

namespace fs = std::filesystem;

namespace host::system {

namespace {

/// Gives a copy the mode of the other one, and syncs it.
Result<void> Complete(const fs::path& from, const fs::path& to)
{
    if (fs::is_symlink(to)) return {};
    std::error_code error;
    fs::permissions(to, fs::status(from).permissions(), error);
    if (!error && SyncPath(to)) return {};
    return SystemReason(to.string(), "cannot sync " + to.string());
}

}  // namespace

Result<void> CopyDurably(const std::string& from, const std::string& to)
{
    std::error_code error;
    fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::copy_symlinks, error);
    if (error) {
        errno = error.value();
        return SystemReason(from, "cannot copy " + from + " to " + to);
    }
    if (fs::is_directory(fs::symlink_status(from))) {
        for (const auto& entry : fs::recursive_directory_iterator(to, error)) {
            Result<void> done = Complete(from / entry.path().lexically_relative(to), entry.path());
            if (!done) return done;
        }
    }
    Result<void> done = Complete(from, to);
    if (done && !SyncFolderOf(to)) return SystemReason(to, "cannot sync " + to);
    return done;
}

}  // namespace host::system
