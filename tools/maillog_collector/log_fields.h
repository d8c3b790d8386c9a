// Reading the fields of a log line in order. Each function removes what it reads from `rest`.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace collector {

bool EndsWith(std::string_view text, std::string_view end);

/// Removes `prefix`; false, with `rest` unchanged, when it does not begin so.
bool SkipPrefix(std::string_view& rest, std::string_view prefix);

/// Returns the text before `end` and removes both; returns all of `rest` when there is no `end`.
std::string_view TakeUntil(std::string_view& rest, char end);

/// Reads `<address>`; a ">" within quotes is part of the address. False when there is none.
bool TakeAddress(std::string_view& rest, std::string_view& address);

/// Reads a decimal number. False when there is none.
bool TakeNumber(std::string_view& rest, std::int64_t& number);

/// The text as it is stored, safe to be shown: at most `kLongestText` bytes, with `<`, `>`, control
/// characters and bytes that are not UTF-8 replaced by `?`.
std::string CleanText(std::string_view text);

/// The same of a message id, which is anything that its sender likes: a first character by which a
/// spreadsheet that opens an export would know a formula becomes `?` too.
std::string CleanId(std::string_view id);

constexpr std::size_t kLongestText = 1000;

}  // namespace collector
