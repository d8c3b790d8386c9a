// Texts in ASCII: kinds of characters, lower case, cutting of blanks. All of it is inline, so that
// a program that links no library of the package can use it too.
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

/// The text with its ASCII letters in lower case, the rest as it is.
inline std::string InLowerCase(std::string_view text)
{
    std::string lower(text);
    for (char& c : lower) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return lower;
}

/// `text` without the blanks, tabs and line ends at both of its ends.
inline std::string_view Trim(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace host
