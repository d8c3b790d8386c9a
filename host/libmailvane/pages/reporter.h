// The recipients of the report, and checks of its settings that come from elsewhere.
#pragma once

#include <string>
#include <vector>

#include "host/libhaldcore/result.h"

namespace host::pages {

/// The addresses of a list separated by commas or semicolons, trimmed, without empty ones.
std::vector<std::string> ReportRecipients(const std::string& list);

/// Refuses the stored settings at `path` when the page would; there may be none.
Result<void> CheckReport(const std::string& path);

}  // namespace host::pages
