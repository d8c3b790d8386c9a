// The spam filter's own check of its rules.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"

namespace host::save {

/// Has the spam filter check these rules, next to those that it brings along. It is asked as the
/// scanner's user, with a home of its own that is gone afterwards. Refused also when it cannot be
/// asked or takes too long.
Result<void> SpamFilterTakes(const std::string& rules);

}  // namespace host::save
