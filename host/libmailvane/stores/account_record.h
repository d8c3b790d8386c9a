// The account combination that a database belongs to. It is recorded in the table `account`; a hash
// of it, the stamp, is in the file header, where it is read without SQLite.
#pragma once

#include <optional>
#include <string>

#include "host/libmailvane/settings/account_combination.h"
#include "host/libmailvane/system/database.h"

namespace host::stores {

/// The SQL script that creates the table `account`, the first script of both databases.
constexpr char kAccountTable[] = "CREATE TABLE account (type TEXT NOT NULL, domain TEXT NOT NULL)";

/// Whether the file at `path` has the stamp of `combination`. Reads four bytes, without SQLite.
/// Must not be called while this process has the database open: closing any descriptor of a file
/// releases all locks that the process holds on it.
bool CarriesStamp(const std::string& path, const settings::AccountCombination& combination);

/// The combination recorded in the database at `path`, after rolling back the journal of a killed
/// writer. Nothing when the file is damaged or records none. Fails when it cannot be read (locked
/// too long, disk error).
Result<std::optional<settings::AccountCombination>> RecordedCombination(const std::string& path);

/// Creates an empty database that records `combination`, without a stamp. The file appears only
/// when complete. Throws SQLite::Exception.
Result<void> CreateAccountDatabase(const std::string& path, const system::Schema& schema,
                                   const settings::AccountCombination& combination);

/// Records another combination in a database, whose stamp has to follow. Throws SQLite::Exception.
Result<void> RecordCombination(const std::string& path, const system::Schema& schema,
                               const settings::AccountCombination& combination);

/// Writes the stamp into a database that records `combination`. Throws SQLite::Exception.
Result<void> Stamp(const std::string& path, const system::Schema& schema,
                   const settings::AccountCombination& combination);

}  // namespace host::stores
