// Cutting the blanks around a text.
#pragma once

#include <string_view>

namespace host {

/// `text` without the blanks, tabs and line ends at both of its ends.
inline std::string_view Trim(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace host
