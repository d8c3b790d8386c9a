// The text files that lists are imported from.
#pragma once

#include <functional>
#include <string>

namespace host::names {

/// Takes one line of a list, trimmed, its tabs made blanks. Returns what is wrong with it; empty
/// when it was taken.
using TakeLine = std::function<std::string(const std::string& line)>;

/// Hands the lines of an imported list to `take`: UTF-8, any kind of line end. Blank lines and
/// comments, which begin with "#", are left out. Every line that is refused is logged with its
/// number. True when none was; false also when the file cannot be read.
bool ReadListText(const std::string& path, const TakeLine& take);

/// Writes an export to the file at `path`. 0, or -1 (logged).
int WriteExport(const std::string& path, const std::string& text);

/// Pattern for SQL's `LIKE ? ESCAPE '\'` that finds `text` anywhere.
std::string LikeAnywhere(const std::string& text);

}  // namespace host::names
