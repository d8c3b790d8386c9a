// A damaged database of the mail log.
#pragma once

#include "host/libhaldcore/result.h"

namespace collector {

/// Moves the current database aside as maillog.db.damaged, replacing an earlier one, so that a new
/// database can be made.
host::Result<void> PutDamagedAside();

}  // namespace collector
