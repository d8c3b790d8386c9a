// Changing lists, and putting them in force.
//
// A change that is in force when it returns is one transaction of the store around the whole of it:
// made there, rendered from there, validated, marked, put in force, and stored last. What fails
// before leaves the store as it was, and the generation before in force again. Where a process is
// killed, SQLite takes its change back, and whoever finds the mark makes the lists anew from the
// store.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <functional>
#include <string>
#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/pending_save.h"
#include "host/libmailvane/render/lists.h"
#include "host/libmailvane/save/list_files.h"

namespace host::save {

/// A change of the store of a list, which may throw as SQLite does.
using ListChange = std::function<Result<void>(SQLite::Database& store)>;

/// Makes a change in the database of a list and stores it; it comes in force when the list is
/// applied. `what` begins its line in the log.
Result<void> StoreChange(const render::List& list, const char* what, const ListChange& change);

/// A change of the settings that belongs to one of a list.
using SettingsChange = std::function<void(settings::StoredSettings&)>;

/// Makes a change of a list and puts it in force, both or neither; one of the settings, which only
/// the mail server reads, with it.
Result<void> StoreAndApply(const render::List& list, const char* what, const ListChange& change,
                           const SettingsChange& settingsChange = nullptr);

/// The same for a list that the caller has in an open connection to its database as it is to be, in
/// temporary tables that hide those of the database. `store` stores it, last.
Result<void> ApplyAndStore(const render::List& list, const char* what, SQLite::Database& draft,
                           const std::function<Result<void>()>& store);

/// Puts the types of attachments that are refused in force and stores them, both or neither.
Result<void> StoreAndApplyTypes(const std::vector<std::string>& types);

/// Puts rules of the spam filter in force, which are stored nowhere else. The scanner has to take
/// them.
Result<void> ApplySpamRules(const std::string& rules);

/// Puts lists in force as they are stored. Within a switch of the account source it does nothing:
/// the save that ends the switch makes all lists of the accounts.
Result<void> ApplyLists(const Lists& lists);

/// Puts the databases in a folder in the place of those of the stored accounts that are lost, empty
/// ones without a folder, and the lists of the accounts in force as they are stored then.
Result<void> RepairLists(const std::string& folder = "");

/// Finishes or undoes a change of lists that was interrupted: what is in force then is what the
/// store holds, or, when that cannot be made, what was in force before. Fails when neither can be
/// put in force.
Result<void> FinishListChange(const generation::PendingSave& mark);

/// Whether a mark is that of a change of lists.
bool IsListChange(const generation::PendingSave& mark);

}  // namespace host::save
