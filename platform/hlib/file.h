// Files and directories. Provided by libhaldcore.so.6.
#pragma once

#include <cstdint>

struct HLIBCSzList;

/// Non-zero when the file exists, else 0; never negative.
int HLIBCFileExist(const char* path);

/// Appends the names (without path) of at most `max` entries of a directory, except "." and "..",
/// to `list`, and returns their number; negative when the directory cannot be read. `flags` is 0.
int HLIBCFileEnumDir(const char* directory, int flags, HLIBCSzList** list, int max);

/// The bytes that unprivileged users can still write to the file system of `path`; negative on
/// failure.
std::int64_t HLIBGetFsFreeSize(const char* path);
