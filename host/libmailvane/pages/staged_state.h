// Validation of a stored state before a restore.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"

namespace host::pages {

/// Refuses a state that holds anything its pages would not have stored. `folder` is the one that
/// `save::RestoreState` takes; only root can write there. Nothing is run or put in place.
Result<void> CheckStagedState(const std::string& folder);

}  // namespace host::pages
