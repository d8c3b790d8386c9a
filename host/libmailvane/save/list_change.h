// Changing the lists in etc/mailvane.db.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include "host/libmailvane/save/transaction.h"
#include "host/libmailvane/system/database.h"

namespace host::save {

/// Opens etc/mailvane.db for changes, after making it the one of the stored account combination.
/// Requires the request lock.
Result<SQLite::Database> ChangeListStore();

/// Runs a change of the lists, which gets their store and gives nothing or a Result<void>, under
/// the lock. `what` is the name of the lists.
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
