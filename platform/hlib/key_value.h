// Key-value files: one `key=value` or `key="value"` a line. Provided by libhaldcore.so.6.
#pragma once

/// Copies the value of `key` to `buffer` (`size` bytes; truncated if necessary, always with a NUL).
/// 0, with an empty `buffer` when the file has no such key; negative, also with an empty `buffer`,
/// only when the file cannot be read. `flags` is 0.
int HLIBCFileGetKeyValue(const char* file, const char* key, char* buffer, int size, int flags);

/// Sets or adds a key, keeping all other lines. Creates a missing file; replaces the file
/// atomically. Negative on failure, with the file unchanged. `flags` is 0.
int HLIBCFileSetKeyValue(const char* file, const char* key, const char* value, int flags);

/// Non-zero when the file has `key` with this value; else 0, also when file or key is missing.
int HLIBCFileCheckKeyValue(const char* file, const char* key, const char* value, int flags);
