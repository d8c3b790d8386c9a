// Whether a request takes over settings from another mail server. mailvane-setup stores those by
// normal requests.
#pragma once

#include <string_view>

namespace host::pages {

/// Whether stricter defaults for `what`, "relay" or "logins", must stay off because the settings
/// come from another mail server. MAILVANE_TAKES_OVER in the environment names them; requests
/// through a web server never have it.
bool TakesOver(std::string_view what);

}  // namespace host::pages
