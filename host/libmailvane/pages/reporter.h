// Who gets the report, and settings of it that come from elsewhere.
#pragma once

#include <string>
#include <vector>

#include "host/libhaldcore/result.h"

namespace host::pages {

/// The addresses of a list divided by commas or semicolons, without the blanks around them and
/// without empty ones.
std::vector<std::string> ReportRecipients(const std::string& list);

/// Refuses the stored settings at `path` when the page would; there may be none.
Result<void> CheckReport(const std::string& path);

}  // namespace host::pages
