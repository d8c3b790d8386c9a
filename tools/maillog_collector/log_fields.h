// Reading the fields of a log line one after the other.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace collector {

bool EndsWith(std::string_view text, std::string_view end);

/// Cuts `prefix` off `rest`; false, and nothing cut, when it does not begin so.
bool SkipPrefix(std::string_view& rest, std::string_view prefix);

/// Cuts off and returns what stands before `end`, and `end` too; everything when there is none.
std::string_view TakeUntil(std::string_view& rest, char end);

/// Cuts `<...>` off. A `>` within quotes belongs to the address. False when there is none.
bool TakeAddress(std::string_view& rest, std::string_view& address);

/// Cuts a decimal number off. False when there is none.
bool TakeNumber(std::string_view& rest, std::int64_t& number);

/// A text as it is stored, since pages show it as it is: at most `kLongestText` bytes; `<`, `>`,
/// control characters and bytes that are no UTF-8 become `?`.
std::string CleanText(std::string_view text);

/// The same of a message id, which is anything that its sender likes: a first character by which a
/// spreadsheet that opens an export would know a formula becomes `?` too.
std::string CleanId(std::string_view id);

constexpr std::size_t kLongestText = 1000;

}  // namespace collector
