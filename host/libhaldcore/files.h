// Reading and replacing whole files.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <string_view>

namespace host {

/// Reads a whole regular file into `bytes`. False, with errno set, when it cannot be read; EPERM
/// for whatever another user can have put into a world-writable directory.
bool ReadFile(const std::string& path, std::string& bytes);

/// Reads a whole regular file in pieces of bounded size; else as `ReadFile`.
bool ReadInPieces(const std::string& path, const std::function<void(std::string_view)>& take);

/// Replaces a file atomically: temporary file beside it, fsync, rename, fsync of the directory. The
/// file has `mode` exactly and keeps its owner. A symbolic link is followed and its target
/// replaced, except in a world-writable directory. False, with errno set and the old file
/// unchanged, on failure.
bool ReplaceFile(const std::string& path, const std::string& bytes, mode_t mode);

/// Writes all bytes to a blocking descriptor. False, with errno set, on failure.
bool WriteAll(int descriptor, std::string_view bytes);

/// Creates a directory and its missing parents with `mode`, whatever the umask. True when it exists
/// then.
bool MakeDirectories(const std::string& path, mode_t mode);

/// Whether a component of the path is "..".
bool ClimbsUp(const std::string& path);

}  // namespace host
