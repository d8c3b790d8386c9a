// The report as text: plain and HTML.
#pragma once

#include <string>

#include "tools/report/report_data.h"

namespace report {

/// The subject, with the day of the report.
std::string Title(const Data& data);

/// The whole report, in UTF-8 with "\n" line ends. Foreign text is escaped in HTML, and control
/// characters and bytes that are not UTF-8 become "?".
std::string PlainText(const Data& data);
std::string Html(const Data& data);

}  // namespace report
