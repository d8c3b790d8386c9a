// The report in words: plain text and HTML.
#pragma once

#include <string>

#include "tools/report/report_data.h"

namespace report {

/// The day that the report is about, for its subject.
std::string Title(const Data& data);

/// The whole report, UTF-8 with "\n" line ends. What comes from mail is shown, never believed: in
/// HTML it is escaped, and control characters and bytes that are no UTF-8 become "?".
std::string PlainText(const Data& data);
std::string Html(const Data& data);

}  // namespace report
