// A damaged database of the mail log.
#pragma once

#include <exception>

namespace collector {

/// Whether a failure means that the database is damaged, so that another attempt is useless.
bool TellsDamage(const std::exception& failure);

/// Moves the current database aside as maillog.db.damaged, replacing an earlier one, so that a new
/// database can be made. False (logged) on failure.
bool PutDamagedAside();

}  // namespace collector
