// Checks of a user's forwarding address.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "host/libmailvane/stores/personal_settings.h"

namespace host::pages {

/// Refuses an invalid address, and a loop: a user's own address on a server with the settings
/// `stored`. The address may be empty while forwarding is off.
Result<void> CheckForwarding(const stores::PersonalSettings& settings, const std::string& user,
                             const settings::StoredSettings& stored);

}  // namespace host::pages
