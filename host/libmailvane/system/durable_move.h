// Moving files so that a kill or a power failure loses none of them.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"

namespace host::system {

/// Whether anything, a dangling link included, has this name.
bool NameExists(const std::string& path);

/// Waits until the disk has what is in a file, or the names in a folder. False, with errno set, on
/// failure.
bool SyncPath(const std::string& path);

/// The same for the folder that `path` lies in.
bool SyncFolderOf(const std::string& path);

/// Moves a file to a name that is free, on another file system too (then by copying), and waits
/// until the disk has it. A kill leaves the file under the old name, the new name or both, whole in
/// each case. Fails also when the new name is taken.
Result<void> MoveDurably(const std::string& from, const std::string& to);

/// Moves a SQLite database and its journal to a name of its own beside it, made of the name and the
/// time, and logs that with `reason`.
Result<void> KeepAside(const std::string& path, const char* reason);

/// Removes a file, which need not be there, and waits until the disk knows.
Result<void> RemoveDurably(const std::string& path);

}  // namespace host::system
