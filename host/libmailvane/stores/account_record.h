// Which account combination a database belongs to: recorded in its table `account`, and stamped
// into its header as a hash, where it is found without opening the database.
#pragma once

#include <optional>
#include <string>

#include "host/libmailvane/settings/account_combination.h"
#include "host/libmailvane/system/database.h"

namespace host::stores {

/// The script that makes the table `account`: the first of every schema of such a database.
constexpr char kAccountTable[] = "CREATE TABLE account (type TEXT NOT NULL, domain TEXT NOT NULL)";

/// Whether the file at `path` carries the stamp of `combination`. One read, no SQLite. Not to be
/// called while this process has that database open: closing any descriptor of a file gives up the
/// locks that the process holds on it.
bool CarriesStamp(const std::string& path, const settings::AccountCombination& combination);

/// The combination recorded in the database at `path`, after rolling back what a killed writer left
/// behind; nothing when the file is damaged or records none. Fails when it cannot be told (locked
/// for too long, an error of the disk).
Result<std::optional<settings::AccountCombination>> RecordedCombination(const std::string& path);

/// Makes an empty database that records `combination`, not yet stamped; it gets its name only when
/// it is complete. Throws SQLite::Exception.
Result<void> CreateAccountDatabase(const std::string& path, const system::Schema& schema,
                                   const settings::AccountCombination& combination);

/// Writes the stamp of a database that records `combination`. Throws SQLite::Exception.
Result<void> Stamp(const std::string& path, const system::Schema& schema,
                   const settings::AccountCombination& combination);

}  // namespace host::stores
