// Putting what lists fill in force, as a generation of its own.
#pragma once

#include <functional>
#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/list_file.h"

namespace host::save {

/// Makes the files of one list, as they are to be in the next generation.
using ListFileMaker = std::function<Result<std::vector<generation::ListFile>>()>;

/// Makes the files of one or more lists and puts them in force together; Postfix takes them at
/// once, or with the save that is under way. After a failure, but for that of a daemon to restart,
/// what was in force still is.
Result<void> RebuildLists(const std::vector<ListFileMaker>& makers);

/// All lists whose entries belong to one account combination.
std::vector<ListFileMaker> AccountLists();

}  // namespace host::save
