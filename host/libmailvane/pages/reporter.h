// The recipients of the report.
#pragma once

#include <string>
#include <vector>

namespace host::pages {

/// The addresses of a list separated by commas or semicolons, trimmed, without empty ones.
std::vector<std::string> ReportRecipients(const std::string& list);

}  // namespace host::pages
