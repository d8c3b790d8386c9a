// The login at the relay host: whom it is given to.
#pragma once

#include <set>
#include <string>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace host::pages {

/// Judges what a form wants to store in place of `stored`; `given` are the settings that it names.
/// A stored password belongs to the server that it was given for: to another one, another port or
/// without TLS it goes only when it is given again. From the first form on that is about the relay,
/// the relay host must prove its name. A relay without a server, a login without an account and
/// what the mail server could not be told are refused.
Result<void> JudgeRelayLogin(const settings::StoredSettings& stored,
                             settings::StoredSettings& wanted, const std::set<std::string>& given);

}  // namespace host::pages
