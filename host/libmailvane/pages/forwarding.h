// Where a user's mail may be forwarded to.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "host/libmailvane/stores/personal_settings.h"

namespace host::pages {

/// Refuses a forwarding that cannot be carried out on a server with the settings `stored`; what is
/// off may lack an address.
Result<void> CheckForwarding(const stores::PersonalSettings& settings, const std::string& user,
                             const settings::StoredSettings& stored);

}  // namespace host::pages
