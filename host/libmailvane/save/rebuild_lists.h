// Rebuilding the files that lists fill, and activating them as a generation.
#pragma once

#include <functional>
#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/list_file.h"

namespace host::save {

/// Makes the text of the files of one list from the stored list.
using ListFileMaker = std::function<Result<std::vector<generation::ListFile>>()>;

/// Makes the files of one or more lists and activates them together. Restarts Postfix unless a save
/// is under way, which does so itself. After a failure the previous generation is in force, except
/// when only a restart failed.
Result<void> RebuildLists(const std::vector<ListFileMaker>& makers);

/// The makers of all lists whose entries belong to one account combination.
std::vector<ListFileMaker> AccountLists();

}  // namespace host::save
