// Files and directories. Provided by libhaldcore.so.6.
#pragma once

#include <cstdint>

struct HLIBCSzList;

/// Non-zero when the file exists, else 0; never negative.
int HLIBCFileExist(const char* path);

/// Appends to `list` the names (no paths) of at most `max` entries of a directory, without "." and
/// "..". `flags` is 0. The number appended; negative when the directory cannot be read.
int HLIBCFileEnumDir(const char* directory, int flags, HLIBCSzList** list, int max);

/// Bytes that an unprivileged user may still write to the file system that holds `path`; negative
/// on failure.
std::int64_t HLIBGetFsFreeSize(const char* path);
