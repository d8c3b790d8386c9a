// What is text in UTF-8.
#pragma once

#include <cstddef>
#include <string_view>

namespace host {

/// Length of the character in UTF-8 that the text begins with; 0 when it begins with none. Overlong
/// forms, surrogates and what lies beyond U+10FFFF are none.
std::size_t CharacterLength(std::string_view text);

/// Whether the text is made of nothing but such characters.
bool IsUtf8(std::string_view text);

}  // namespace host
