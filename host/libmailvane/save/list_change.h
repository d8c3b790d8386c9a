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

namespace host::save {

using Lists = std::vector<const render::List*>;

/// All lists, and those whose entries belong to one account combination.
Lists AllLists();
Lists AccountLists();

/// A change of the store of a list, which may throw as SQLite does.
using ListChange = std::function<Result<void>(SQLite::Database& store)>;

/// Makes a change in the database of a list and stores it; it comes in force when the list is
/// applied. `what` begins its line in the log.
Result<void> StoreChange(const render::List& list, const char* what, const ListChange& change);

/// Makes a change of a list and puts it in force, both or neither.
Result<void> StoreAndApply(const render::List& list, const char* what, const ListChange& change);

/// Puts the types of attachments that are refused in force and stores them, both or neither.
Result<void> StoreAndApplyTypes(const std::vector<std::string>& types);

/// Puts lists in force as they are stored. Within a switch of the account source it does nothing:
/// the save that ends the switch makes all lists of the accounts.
Result<void> ApplyLists(const Lists& lists);

/// Makes empty databases of the stored accounts in the place of those that are lost, and puts the
/// lists of the accounts in force as they are stored then.
Result<void> RepairLists();

/// The files of lists as they are stored, with these settings.
Result<std::vector<generation::ListFile>> StoredListFiles(const Lists& lists,
                                                          const settings::StoredSettings& settings);

/// Finishes or undoes a change of lists that was interrupted: what is in force then is what the
/// store holds, or, when that cannot be made, what was in force before. Fails when neither can be
/// put in force.
Result<void> FinishListChange(const generation::PendingSave& mark);

/// Whether a mark is that of a change of lists.
bool IsListChange(const generation::PendingSave& mark);

}  // namespace host::save
