// Keeping the account data what the stored settings say, and what is generated from it.
#include "host/libmailvane/save/account_switch.h"

#include "host/libhaldcore/lock.h"
#include "host/libmailvane/save/exchange.h"
#include "host/libmailvane/save/rebuild_lists.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "host/libmailvane/stores/account_data.h"

namespace host::save {

int HealAccounts(const settings::AccountCombination& stored)
{
    if (stores::AccountDataIsSound(stored)) return 0;

    const ScopedLock lock(std::chrono::milliseconds(0));
    // What a killed process was exchanging is the next writer's to finish.
    if (!lock.held() || ExchangeIsUnderWay()) return 0;

    // Another process may have healed it in between, or changed the settings.
    const auto current = settings::StoredSettings::Read();
    if (!current) return -1;

    bool exchanged = false;
    if (stores::HealAccountData(current->Account(), exchanged) < 0) return -1;

    return exchanged ? RebuildLists(AccountLists()) : 0;
}

}  // namespace host::save
