// Text files of lists, for import and export.
#pragma once

#include <functional>
#include <string>

#include "host/libhaldcore/result.h"

namespace host::names {

/// Reads one line, trimmed and with tabs replaced by blanks, or refuses it.
using TakeLine = std::function<Result<void>(const std::string& line)>;

/// Calls `take` for each line of an import file: UTF-8, any line ends; empty lines and comments
/// ("#") are skipped. Reads on after a refused line; the first refused lines become causes of the
/// reason, each about "line 12" or the like.
Result<void> ReadListText(const std::string& path, const TakeLine& take);

/// Writes the text of an export to the file at `path`.
Result<void> WriteExport(const std::string& path, const std::string& text);

/// A pattern for SQL's `LIKE ? ESCAPE '\'` that matches texts that contain `text`.
std::string LikeAnywhere(const std::string& text);

}  // namespace host::names
