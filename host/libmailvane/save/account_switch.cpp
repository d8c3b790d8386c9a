// Keeping the account data what the stored settings say, and what is generated from it.
#include "host/libmailvane/save/account_switch.h"

#include "host/libhaldcore/lock.h"
#include "host/libmailvane/save/exchange.h"
#include "host/libmailvane/save/rebuild_lists.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "host/libmailvane/stores/account_data.h"

namespace host::save {

Result<void> HealAccounts(const settings::AccountCombination& stored)
{
    if (stores::AccountDataIsSound(stored)) return {};

    const ScopedLock lock(std::chrono::milliseconds(0));
    // What a killed process was exchanging is the next writer's to finish.
    if (!lock.held() || ExchangeIsUnderWay()) return {};

    // Another process may have healed it in between, or changed the settings.
    const auto current = settings::StoredSettings::Read();
    if (!current) return current.reason();

    bool exchanged = false;
    Result<void> healed = stores::HealAccountData(current->Account(), exchanged);
    return healed && exchanged ? RebuildLists(AccountLists()) : healed;
}

}  // namespace host::save
