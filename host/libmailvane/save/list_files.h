// The files of lists as they are stored.
#pragma once

#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/list_file.h"
#include "host/libmailvane/render/lists.h"
#include "host/libmailvane/stores/account_databases.h"

namespace host::save {

using Files = std::vector<generation::ListFile>;
using Lists = std::vector<const render::List*>;

/// All lists, and those whose entries belong to one account combination.
Lists AllLists();
Lists AccountLists();

/// The database of a list of the accounts.
stores::AccountDatabase DatabaseOf(const render::List& list);

/// The files of a list, from these sources. Throws SQLite::Exception.
Result<Files> FilesOf(const render::List& list, const render::ListSources& sources);

/// The files of lists as they are stored in `folder`, by default in etc/, with these settings.
/// `silence` is what becomes of an alias with a group that the account source does not tell.
Result<std::vector<generation::ListFile>> StoredListFiles(
    const Lists& lists, const settings::StoredSettings& settings,
    render::Silence silence = render::Silence::kFails, const std::string& folder = "");

}  // namespace host::save
