// Aliases as text, one a line: `name: member, member`. See docs/aliases.md.
#pragma once

#include <string>

#include "host/libmailvane/stores/alias_table.h"

namespace host::stores {

/// The whole table as text.
std::string AliasText(const AliasTable& table);

/// Reads aliases from a text file. A bare member is an alias when the file or `table` has one of
/// that name, else a user. Any error refuses the whole file, as with `ReadListText`.
Result<AliasEntries> ReadAliasText(const std::string& path, const AliasTable& table);

}  // namespace host::stores
