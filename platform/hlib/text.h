// Text in UTF-8. Provided by libhaldcore.so.6.
#pragma once

#include <cstddef>

/// Writes the upper-case form of `source` to `target` (of `targetSize` bytes, terminated). 0;
/// negative when `source` is no UTF-8 or the result does not fit.
int HLIBCUnicodeUTF8StrUpper(const char* source, char* target, std::size_t targetSize);
