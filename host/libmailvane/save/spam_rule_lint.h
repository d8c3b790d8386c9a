// The spam filter's own check of its rules.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"

namespace host::save {

/// Has the spam filter check these rules together with its built-in ones. It runs as the scanner's
/// user with a temporary home. Also refused when the filter cannot be run or takes too long.
Result<void> SpamFilterTakes(const std::string& rules);

}  // namespace host::save
