// Healing: making the account databases match the settings; and switching them to what a save
// wants.
//
// A switch begins with the program's moves of the account databases, which no mark precedes. Until
// the mark is there nothing else has changed, and what was moved comes back from the parked name of
// the stored combination. The mark names the switch from the first request to rebuild lists on. The
// save that ends the switch makes all lists of the accounts, from the databases and with the
// settings that come in force.
#pragma once

#include "host/libhaldcore/result.h"
#include "host/libmailvane/settings/account_combination.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace host::save {

/// Replaces the account databases by those of the combination `stored` when they belong to another
/// one, which takes back a switch that was not completed; the generation in force stays. Does
/// nothing when another process holds the request lock or an exchange is under way: the writer
/// heals then.
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
