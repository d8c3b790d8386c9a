// The data kept per account combination: two databases and the address that gets a copy of all
// mail. That of the stored combination is in force, that of others is parked.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/settings/account_combination.h"

namespace host::stores {

/// Whether the databases in force belong to the `stored` combination. A few small reads, without
/// SQLite or the lock. Must not be called while this process has one of the databases open.
bool AccountDataIsSound(const settings::AccountCombination& stored);

/// Puts the databases of the `stored` combination in force, after an interrupted switch or a loss.
/// A database of another combination is parked; the one parked under `stored` comes back, or an
/// empty one is made. Damaged files are set aside. Requires the request lock; can be repeated after
/// a kill. `exchanged` is set, on failure too, when a database was replaced, so that lists must be
/// rebuilt.
Result<void> HealAccountData(const settings::AccountCombination& stored, bool& exchanged);

/// Reads the always_bcc address parked under a combination, and parks one.
std::string ParkedAlwaysBcc(const settings::AccountCombination& combination);
Result<void> ParkAlwaysBcc(const settings::AccountCombination& combination,
                           const std::string& address);

/// Removes the always_bcc address parked under the `stored` combination by a switch away from it.
/// To be called once the settings of that combination are saved.
Result<void> ForgetParkedAlwaysBcc(const settings::AccountCombination& stored);

}  // namespace host::stores
