// Aliases as text, one a line: `name: member, member`. See docs/aliases.md.
#pragma once

#include <string>
#include <vector>

#include "host/libmailvane/stores/alias_table.h"

namespace host::stores {

/// The whole table as text.
std::string AliasText(const AliasTable& table);

/// Reads the aliases of a text file. A bare name is an alias when the file or `table` has one of
/// that name, else a user. False, with each bad line logged, when anything is wrong.
bool ReadAliasText(const std::string& path, const AliasTable& table,
                   std::vector<AliasEntry>& aliases);

}  // namespace host::stores
