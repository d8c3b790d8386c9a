// The maps made from the aliases.
#pragma once

#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/list_file.h"
#include "host/libmailvane/stores/alias_table.h"

namespace host::render {

/// The maps made from a table, with the present settings and groups.
Result<std::vector<generation::ListFile>> AliasFilesOf(const stores::AliasTable& table);

/// The maps made from the stored aliases; empty ones when there is no store.
Result<std::vector<generation::ListFile>> AliasFiles();

/// Only the map of the logins that may send from an alias; `AliasFiles` includes it.
Result<std::vector<generation::ListFile>> LoginFiles();

}  // namespace host::render
