// Changing the lists in etc/mailvane.db.
#include "host/libmailvane/save/list_change.h"

#include <stdexcept>

#include "host/libmailvane/save/account_switch.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "host/libmailvane/stores/account_databases.h"

namespace host::save {

SQLite::Database ChangeListStore()
{
    const auto settings = settings::StoredSettings::Read();
    if (!settings || HealAccounts(settings->Account()) < 0) {
        throw std::runtime_error("the lists of the stored account source are not at hand");
    }
    return stores::ChangeAccountDatabase(stores::AccountDatabase::kMailvane);
}

}  // namespace host::save
