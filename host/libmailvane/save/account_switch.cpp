// Healing: making the account databases, and the lists generated from them, match the settings.
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
    // An exchange that a killed process left unfinished is completed or undone by the next writer.
    if (!lock.held() || ExchangeIsUnderWay()) return {};

    // Read again under the lock: another process may have healed the databases or changed the
    // settings.
    const auto current = settings::StoredSettings::Read();
    if (!current) return current.reason();

    bool exchanged = false;
    Result<void> healed = stores::HealAccountData(current->Account(), exchanged);
    return healed && exchanged ? RebuildLists(AccountLists()) : healed;
}

}  // namespace host::save
