// Checks of the login at the relay host.
#pragma once

#include <set>
#include <string>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace host::pages {

/// Checks the relay settings of a form that is to replace `stored`; `given` are the settings it
/// names. Refuses a relay without a server, a login without an account, and values that the mail
/// server could not be told. Refuses to keep a stored password when server or port change or TLS is
/// switched off: it must be typed again. A form that changes the relay also makes its certificate
/// be verified from now on.
Result<void> JudgeRelayLogin(const settings::StoredSettings& stored,
                             settings::StoredSettings& wanted, const std::set<std::string>& given);

}  // namespace host::pages
