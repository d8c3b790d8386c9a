// The maps that the aliases fill.
#pragma once

#include <vector>

#include "host/libmailvane/stores/alias_table.h"
#include "host/libmailvane/generation/list_file.h"

namespace host {

/// The maps of a table, as the settings and the groups of the machine are now. Throws when one of
/// these cannot be read.
std::vector<ListFile> AliasFilesOf(const AliasTable& table);

/// The same of the stored aliases; a missing store is an empty one.
std::vector<ListFile> AliasFiles();

/// The map of the logins that may send from an alias alone, which `AliasFiles` makes as well.
std::vector<ListFile> LoginFiles();

}  // namespace host
