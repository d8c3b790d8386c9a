// Reading and replacing whole files.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

namespace host {

/// Reads a regular file whole into `bytes`. False, with errno set, when it cannot be read.
bool ReadFile(const std::string& path, std::string& bytes);

/// Replaces a file in one step: a temporary file beside it, fsync, rename, fsync of the directory.
/// The file gets exactly `mode` and keeps the owner of the one it replaces. False, with errno set,
/// when it failed; the old file is then untouched and the temporary one removed. A symbolic link is
/// followed, so that its target is replaced, but never in a world-writable directory.
bool ReplaceFile(const std::string& path, const std::string& bytes, mode_t mode);

/// Writes all bytes to a descriptor that waits. False, with errno set, on failure.
bool WriteAll(int descriptor, std::string_view bytes);

/// Makes a directory and its missing parents with `mode`; true when it exists afterwards.
bool MakeDirectories(const std::string& path, mode_t mode);

/// Whether a path has a component that is "..".
bool ClimbsUp(const std::string& path);

}  // namespace host
