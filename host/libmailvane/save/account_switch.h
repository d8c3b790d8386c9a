// Keeping the account data what the stored settings say, and what is generated from it.
#pragma once

#include "host/libhaldcore/result.h"
#include "host/libmailvane/settings/account_combination.h"

namespace host::save {

/// Makes the account data that of the stored account combination, `stored`, when it is not, and
/// rebuilds the lists that were generated from it. A reader that finds the request lock taken, or
/// stored data that is being exchanged, leaves that to the writer.
Result<void> HealAccounts(const settings::AccountCombination& stored);

}  // namespace host::save
