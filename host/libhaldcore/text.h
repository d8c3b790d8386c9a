// ASCII texts: character classes, lower case, trimming. Inline, so that programs that do not link
// the library can use them.
#pragma once

#include <string>
#include <string_view>

namespace host {

inline bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

inline bool IsLetterOrDigit(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || IsDigit(c);
}

inline bool IsControl(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f;
}

/// The text with ASCII letters in lower case and other bytes unchanged.
inline std::string InLowerCase(std::string_view text)
{
    std::string lower(text);
    for (char& c : lower) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return lower;
}

/// `text` without blanks, tabs and line ends at its beginning and end.
inline std::string_view Trim(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace host
