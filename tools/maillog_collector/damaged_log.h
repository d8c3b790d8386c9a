// A damaged database of the mail log.
#pragma once

#include <exception>

namespace collector {

/// Whether a failure means that the database is damaged, so that another attempt is useless.
bool TellsDamage(const std::exception& failure);

/// Throws SQLite::Exception, as one that tells damage, when the file of the current database is gone
/// or was cut. SQLite goes on with what it remembers of such a file, while nobody else can read it.
void CheckFile();

/// Moves the current database aside as maillog.db.damaged, replacing an earlier one, so that a new
/// database can be made. False (logged) on failure.
bool PutDamagedAside();

}  // namespace collector
