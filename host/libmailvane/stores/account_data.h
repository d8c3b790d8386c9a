// The data that the mail server keeps per account combination: two databases and the address that
// gets a copy of every message. What the stored combination needs is live, the rest is parked.
#pragma once

#include <optional>
#include <string>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/settings/account_combination.h"

namespace host::stores {

/// Whether the live data belongs to the `stored` combination. Cheap: a few small reads without
/// SQLite and without the lock. Not to be called while this process has one of the databases open.
bool AccountDataIsSound(const settings::AccountCombination& stored);

/// Makes the live data that of the `stored` combination, after a switch that was not completed: a
/// database of another combination is parked under that one's name, and the copy parked under the
/// stored combination comes back. One that is missing or damaged, and of which no copy is parked,
/// is lost: it stays as it is, and that is the reason. Needs the request lock; may be killed and
/// repeated at any moment.
Result<void> HealAccountData(const settings::AccountCombination& stored);

/// Makes the live databases those of a combination that comes in force: as above, but of which no
/// copy is parked an empty one is made. A damaged file is kept under another name.
Result<void> SwitchDatabases(const settings::AccountCombination& wanted);

/// The copy address parked under a combination, if one is, and parking one there.
std::optional<std::string> ParkedAlwaysBcc(const settings::AccountCombination& combination);
Result<void> ParkAlwaysBcc(const settings::AccountCombination& combination,
                           const std::string& address);

/// Forgets the copy address that was parked under the `stored` combination when a switch away from
/// it began. To be called once that combination's settings are saved, whether or not it changed.
Result<void> ForgetParkedAlwaysBcc(const settings::AccountCombination& stored);

}  // namespace host::stores
