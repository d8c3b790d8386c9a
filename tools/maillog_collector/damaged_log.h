// A mail-log database that cannot be read any more.
#pragma once

#include <exception>

namespace collector {

/// Whether a failure says that the database itself is damaged: another try would not help.
bool TellsDamage(const std::exception& failure);

/// Moves the current database aside, as maillog.db.damaged in the live folder, in the place of an
/// earlier one, so that a new one can be begun. False, logged, when that fails.
bool PutDamagedAside();

}  // namespace collector
