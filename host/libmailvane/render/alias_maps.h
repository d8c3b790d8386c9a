// The maps that the aliases fill.
#pragma once

#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/list_file.h"
#include "host/libmailvane/stores/alias_table.h"

namespace host::render {

/// The maps of a table, as the settings and the groups of the machine are now.
Result<std::vector<generation::ListFile>> AliasFilesOf(const stores::AliasTable& table);

/// The same of the stored aliases; a missing store is an empty one.
Result<std::vector<generation::ListFile>> AliasFiles();

/// The map of the logins that may send from an alias alone, which `AliasFiles` makes as well.
Result<std::vector<generation::ListFile>> LoginFiles();

}  // namespace host::render
