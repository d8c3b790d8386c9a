// Aliases as text, one a line: `name: member, member`. See docs/aliases.md.
#pragma once

#include <string>
#include <vector>

#include "host/libmailvane/stores/alias_table.h"

namespace host::stores {

/// The whole table as text.
std::string AliasText(const AliasTable& table);

/// Reads the aliases of a text file. A bare name is an alias when the file or `table` has one of
/// that name, else a user. Refused as a whole, as `ReadListText` does, when anything is wrong.
Result<std::vector<AliasEntry>> ReadAliasText(const std::string& path, const AliasTable& table);

}  // namespace host::stores
