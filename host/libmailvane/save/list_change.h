// Changing the lists in etc/mailvane.db.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include "host/libmailvane/save/transaction.h"
#include "host/libmailvane/system/database.h"

namespace host::save {

/// Opens etc/mailvane.db for changes, after making it the one of the stored account combination.
/// Requires the request lock. Throws when that fails.
SQLite::Database ChangeListStore();

/// Runs a change of the lists, which gets their store and returns an int, under the lock. Negative
/// on failure, logged with the name of the lists.
template <typename Change>
int ChangeLists(const char* what, Change change)
{
    return system::WithoutExceptions(what, [&change] {
        const WriteScope scope;
        if (!scope.ok()) return -1;

        SQLite::Database store = ChangeListStore();
        return change(store);
    });
}

}  // namespace host::save
