// UTF-8.
#pragma once

#include <cstddef>
#include <string_view>

namespace host {

/// Length in bytes of the first character of the text; 0 when it is invalid. Overlong forms,
/// surrogates and code points above U+10FFFF are invalid.
std::size_t CharacterLength(std::string_view text);

/// Whether the whole text is valid UTF-8.
bool IsUtf8(std::string_view text);

}  // namespace host
