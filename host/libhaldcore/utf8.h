// UTF-8.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace host {

/// Length in bytes of the first character of the text; 0 when it is invalid. Overlong forms,
/// surrogates and code points above U+10FFFF are invalid.
std::size_t CharacterLength(std::string_view text);

/// Whether the whole text is valid UTF-8.
bool IsUtf8(std::string_view text);

/// Bytes of strangers as UTF-8 that can be shown: U+FFFD for what is none and for what turns the
/// direction of the text around it, a blank for a control character. At most `most` bytes.
std::string ShownText(std::string_view bytes, std::size_t most);

}  // namespace host
