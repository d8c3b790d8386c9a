// Changing the lists in etc/mailvane.db.
#include "host/libmailvane/save/list_change.h"

#include "host/libmailvane/save/account_switch.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "host/libmailvane/stores/account_databases.h"

namespace host::save {

Result<SQLite::Database> ChangeListStore()
{
    const auto settings = settings::StoredSettings::Read();
    Result<void> healed = settings ? HealAccounts(settings->Account()) : settings.reason();
    if (!healed) {
        return std::move(healed).reason().Causing(
            "account source", "the lists of the stored account source are not at hand");
    }
    return stores::ChangeAccountDatabase(stores::AccountDatabase::kMailvane);
}

}  // namespace host::save
