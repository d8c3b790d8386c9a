// Settings that another mail server had: mailvane-setup stores them by normal requests.
#pragma once

#include <string_view>

namespace host::pages {

/// Whether what is stored now is to do for `what` no more than the mail server did that it is taken
/// over from: "relay" or "logins", as MAILVANE_TAKES_OVER in the environment names them. A request
/// that came through a web server has no such thing.
bool TakesOver(std::string_view what);

}  // namespace host::pages
