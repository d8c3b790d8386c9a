// Changing the lists in etc/mailvane.db.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include "host/libmailvane/save/transaction.h"
#include "host/libmailvane/system/database.h"

namespace host::save {

/// Opens etc/mailvane.db for changes, after healing the account databases. Requires the request
/// lock.
Result<SQLite::Database> ChangeListStore();

/// Runs `change` under the request lock with the opened etc/mailvane.db; it returns void or
/// Result<void>. `what` names the lists in reasons.
template <typename Change>
Result<void> ChangeLists(const char* what, Change change)
{
    return system::Attempt(what, [what, &change]() -> Result<void> {
        const WriteScope scope;
        if (!scope.ready()) return scope.ready();

        Result<SQLite::Database> store = ChangeListStore().Prefixed(std::string(what) + ": ");
        if (!store) return std::move(store).reason();
        return system::Attempt(what, [&change, &store] { return change(*store); });
    });
}

}  // namespace host::save
