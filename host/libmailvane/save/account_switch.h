// Healing: making the account databases, and the lists generated from them, match the settings.
#pragma once

#include "host/libhaldcore/result.h"
#include "host/libmailvane/settings/account_combination.h"

namespace host::save {

/// Replaces the account databases by those of the combination `stored` when they belong to another
/// one, and rebuilds the lists that are generated from them. Does nothing when another process
/// holds the request lock or an exchange is under way: the writer heals then.
Result<void> HealAccounts(const settings::AccountCombination& stored);

}  // namespace host::save
