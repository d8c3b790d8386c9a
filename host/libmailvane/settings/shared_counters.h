// Counters of what senders send that several machines share.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"

namespace host::settings {

/// Where the memcached listens that machines share, as MAILVANE_SENDER_COUNTERS in the package's
/// defaults file says: an address and a port; empty when each counts for itself. The
/// code of the reason is kDaemonRefuses.
Result<std::string> SharedCounters();

}  // namespace host::settings
