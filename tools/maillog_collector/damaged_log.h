// A damaged database of the mail log.
#pragma once

#include "host/libhaldcore/result.h"

namespace collector {

/// Fails with kDamaged when the file of the current database is gone or was cut. SQLite goes on
/// with what it remembers of such a file, while nobody else can read it.
host::Result<void> CheckFile();

/// Moves the current database aside as maillog.db.damaged, replacing an earlier one, so that a new
/// database can be made.
host::Result<void> PutDamagedAside();

}  // namespace collector
