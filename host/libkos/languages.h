// The language of the interface.
#pragma once

#include <string>

namespace kos {

/// The language that the client chose: `parameter` (null when absent), else the cookie "lang", else
/// the best one of Accept-Language that there are texts in, else "en". Always two to eight
/// lower-case letters, since it becomes part of a file name; other values count as absent.
std::string ChooseLanguage(const std::string* parameter, const std::string& cookies,
                           const std::string& acceptLanguage);

}  // namespace kos
