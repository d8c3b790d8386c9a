// Key-value files: one `key=value` or `key="value"` a line. Provided by libhaldcore.so.6.
#pragma once

/// Copies the value of `key` to `buffer` (of `size` bytes, always terminated, cut to fit). `flags`
/// is 0. 0 on success, also when the readable file does not hold the key: `buffer` is then empty.
/// Negative only when the file cannot be read; `buffer` is then empty too.
int HLIBCFileGetKeyValue(const char* file, const char* key, char* buffer, int size, int flags);

/// Sets or adds one key, keeping every other line, and creates a missing file; the file is replaced
/// in one step. `flags` is 0. Negative on failure, the file is then as it was.
int HLIBCFileSetKeyValue(const char* file, const char* key, const char* value, int flags);

/// Non-zero exactly when the file holds `key` with this value; 0 also when file or key is missing.
int HLIBCFileCheckKeyValue(const char* file, const char* key, const char* value, int flags);
