// Validation of a stored state, or of a part of it, before it comes in force.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace host::pages {

/// Refuses a state that holds anything its pages would not have stored. `folder` is the one that
/// `save::RestoreState` takes; only root can write there. Nothing is run or put in place.
Result<void> CheckStagedState(const std::string& folder);

/// Refuses the personal settings in the file of a user when the page would not have stored them
/// with these settings of the servers.
Result<void> CheckPersonal(const std::string& path, const settings::StoredSettings& stored);

}  // namespace host::pages
