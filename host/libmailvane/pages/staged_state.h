// A stored state that comes from elsewhere, as an archive does.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"

namespace host::pages {

/// Refuses a state in a folder of root's alone, as `save::RestoreState` takes it, that holds
/// anything which its page would not have stored. Nothing of it is run or put in place.
Result<void> CheckStagedState(const std::string& folder);

}  // namespace host::pages
