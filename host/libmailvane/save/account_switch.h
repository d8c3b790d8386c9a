// Keeping the account data what the stored settings say, and switching it to what a save wants.
//
// A switch begins with the program's moves of the account databases, which no mark precedes: until
// the mark is there nothing else has changed, and what was moved lies under the parked name of the
// stored combination, from where it comes back. From the first request to make lists anew on, the
// mark names the switch. The save that ends it makes all lists of the accounts, from the databases
// and with the settings that come in force.
#pragma once

#include "host/libhaldcore/result.h"
#include "host/libmailvane/settings/account_combination.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace host::save {

/// Makes the account data that of the stored account combination, `stored`, when it is not, and so
/// takes a switch back that was not completed; what is in force is never changed. A reader that
/// finds the request lock taken, or stored data that is being exchanged, leaves that to the writer.
Result<void> HealAccounts(const settings::AccountCombination& stored);

/// Whether a switch away from the stored combination has begun. Marks one that a request has begun
/// and this tool of its is the first to notice. Requires the request lock.
Result<bool> SwitchIsUnderWay(const settings::AccountCombination& stored);

/// Whether a save of these settings ends a switch, or makes one.
bool EndsSwitch(const settings::AccountCombination& stored,
                const settings::AccountCombination& wanted);

/// Marks the switch, makes the account data that of the wanted settings, and gives these the copy
/// address that belongs to it. To be taken back by `HealAccounts` unless the save is committed.
Result<void> SwitchAccounts(settings::StoredSettings& wanted);

}  // namespace host::save
