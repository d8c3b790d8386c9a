// The text files that lists are imported from.
#pragma once

#include <functional>
#include <string>

#include "host/libhaldcore/result.h"

namespace host::names {

/// Takes one line of a list, trimmed, its tabs made blanks, or refuses it.
using TakeLine = std::function<Result<void>(const std::string& line)>;

/// Hands the lines of an imported list to `take`: UTF-8, any kind of line end. Blank lines and
/// comments, which begin with "#", are left out. Every line is handed over, whatever was refused
/// before it; each refused one, up to a number, is a cause of the reason, about "line 12" for
/// example.
Result<void> ReadListText(const std::string& path, const TakeLine& take);

/// Writes an export to the file at `path`.
Result<void> WriteExport(const std::string& path, const std::string& text);

/// Pattern for SQL's `LIKE ? ESCAPE '\'` that finds `text` anywhere.
std::string LikeAnywhere(const std::string& text);

}  // namespace host::names
