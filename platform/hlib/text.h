// Text in UTF-8. Provided by libhaldcore.so.6.
#pragma once

#include <cstddef>

/// Writes `source` in upper case, with a NUL, to `target` (of `targetSize` bytes). 0; negative when
/// `source` is not UTF-8 or the result does not fit.
int HLIBCUnicodeUTF8StrUpper(const char* source, char* target, std::size_t targetSize);
