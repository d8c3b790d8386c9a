// The maps that the aliases fill.
#pragma once

#include <vector>

#include "host/libmailvane/alias_table.h"
#include "host/libmailvane/list_maps.h"

namespace host {

/// The maps of a table, as the settings and the groups of the machine are now. Throws when one of
/// these cannot be read.
std::vector<ListFile> AliasFilesOf(const AliasTable& table);

}  // namespace host
