// Changing the lists in etc/mailvane.db.
#include "host/libmailvane/list_change.h"

#include <stdexcept>

#include "host/libmailvane/account_databases.h"
#include "host/libmailvane/account_switch.h"
#include "host/libmailvane/stored_settings.h"

namespace host {

SQLite::Database ChangeListStore()
{
    const auto settings = StoredSettings::Read();
    if (!settings || HealAccounts(settings->Account()) < 0) {
        throw std::runtime_error("the lists of the stored account source are not at hand");
    }
    return ChangeAccountDatabase(AccountDatabase::kMailvane);
}

}  // namespace host
