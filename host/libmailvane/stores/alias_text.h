// Aliases as text, one a line: `name: member, member`. See docs/aliases.md.
#pragma once

#include <string>

#include "host/libmailvane/stores/alias_table.h"

namespace host::stores {

/// The whole table as text.
std::string AliasText(AliasTable& table);

/// Brings the aliases of a text file into the table, where each gets exactly the members of the
/// file, and gives their number. A bare member is an alias when the file or the table has one of
/// that name, else a user. Any error refuses the whole file, as with `ReadListText`. Memory does
/// not grow with the file.
Result<int> ImportAliasText(const std::string& path, AliasTable& table);

}  // namespace host::stores
