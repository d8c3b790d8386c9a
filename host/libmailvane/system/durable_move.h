// Moving files so that a kill or a power failure loses none.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"

namespace host::system {

/// Whether this path exists, also as a dangling link.
bool NameExists(const std::string& path);

/// Syncs a file, or a directory with its names, to disk. False, with errno set, on failure.
bool SyncPath(const std::string& path);

/// Syncs the directory of `path`; as `SyncPath`.
bool SyncFolderOf(const std::string& path);

/// Moves a file to a free name, also on another file system (by copying), and syncs. After a kill
/// the file is complete under the old name, the new one or both. Fails when the new name is taken.
Result<void> MoveDurably(const std::string& from, const std::string& to);

/// Sets a SQLite database and its journal aside: renames them to `path`.kept-TIME and logs that
/// with `reason`.
Result<void> KeepAside(const std::string& path, const char* reason);

/// Removes a file, if it exists, and syncs its directory.
Result<void> RemoveDurably(const std::string& path);

}  // namespace host::system
