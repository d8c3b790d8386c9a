// Calls about the mail that waits to be delivered.
#pragma once

#include "upkeep/request/request.h"

namespace upkeep {

/// `queue_flush`: has the mail server try to deliver everything that is not held.
Answer QueueFlush(const Request& request);

}  // namespace upkeep
