// The data kept per account combination: two databases and the address that gets a copy of all
// mail. That of the stored combination is in force, that of others is parked. A combination whose
// domain is spelled in other letters, large or small, and has no data of its own takes this one's.
#pragma once

#include <optional>
#include <string>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/settings/account_combination.h"

namespace host::stores {

/// Whether the databases in force belong to the `stored` combination. A few small reads, without
/// SQLite or the lock. Must not be called while this process has one of the databases open.
bool AccountDataIsSound(const settings::AccountCombination& stored);

/// Puts the databases of the `stored` combination in force, after a switch that was not completed.
/// A database of another combination is parked; the one parked under `stored` comes back. One that
/// is missing or damaged, and of which no copy is parked, is lost: it stays as it is, and that is
/// the reason. Requires the request lock; can be repeated after a kill.
Result<void> HealAccountData(const settings::AccountCombination& stored);

/// Puts the databases of a combination that comes in force in place: as above, but where no copy is
/// parked an empty one is made. Damaged files are set aside.
Result<void> SwitchDatabases(const settings::AccountCombination& wanted);

/// Puts databases from a folder in the place of those of the `stored` combination that are lost;
/// the others stay. Damaged files are set aside. Requires the request lock.
Result<void> BringBack(const std::string& folder, const settings::AccountCombination& stored);

/// Copies the databases of a combination to a folder: those in force, those that are parked, or
/// empty ones. Requires the request lock; those in force must be sound.
Result<void> CopyDatabases(const settings::AccountCombination& wanted, const std::string& folder);

/// Fails when a database of the `stored` combination is missing or damaged. Reads them whole.
Result<void> CheckAccountData(const settings::AccountCombination& stored);

/// Reads the always_bcc address parked under a combination, if one is, and parks one.
std::optional<std::string> ParkedAlwaysBcc(const settings::AccountCombination& combination);
Result<void> ParkAlwaysBcc(const settings::AccountCombination& combination,
                           const std::string& address);

/// Removes the always_bcc address parked under the `stored` combination by a switch away from it.
/// To be called once the settings of that combination are saved.
Result<void> ForgetParkedAlwaysBcc(const settings::AccountCombination& stored);

}  // namespace host::stores
