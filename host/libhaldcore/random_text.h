// Texts that nobody can guess.
#pragma once

#include <string>

namespace host {

/// 16 random hexadecimal digits. Throws std::system_error when the kernel has none to give.
std::string RandomDigits();

}  // namespace host
