// Who gets the report.
#pragma once

#include <string>
#include <vector>

namespace host::pages {

/// The addresses of a list divided by commas or semicolons, without the blanks around them and
/// without empty ones.
std::vector<std::string> ReportRecipients(const std::string& list);

}  // namespace host::pages
