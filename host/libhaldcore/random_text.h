// Unpredictable texts.
#pragma once

#include <string>

namespace host {

/// 16 random hexadecimal digits. Throws std::system_error when the kernel returns none.
std::string RandomDigits();

}  // namespace host
