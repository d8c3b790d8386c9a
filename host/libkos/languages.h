// The language of the interface.
#pragma once

#include <string>

namespace kos {

/// The language chosen by the client: `parameter` (null when absent), else the cookie "lang", else
/// the best installed one of Accept-Language, else "en". Always two to eight lower-case letters,
/// since it becomes part of a file name; other values are ignored.
std::string ChooseLanguage(const std::string* parameter, const std::string& cookies,
                           const std::string& acceptLanguage);

}  // namespace kos
