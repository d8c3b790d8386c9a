// The pages that letters show, as text: plain and HTML.
#pragma once

#include <string>
#include <vector>

#include "tools/report/check_watch.h"
#include "tools/report/report_data.h"

namespace report {

struct Section {
    std::string title;
    std::vector<std::vector<std::string>> rows;  ///< of equal length
    std::string remark;                          ///< below the rows, or instead
};

struct Page {
    std::string title;  ///< also the letter's subject
    std::string introduction;
    std::vector<Section> sections;
};

/// The report. Of foreign text, control characters and bytes that are not UTF-8 become "?".
Page PageOf(const Data& data);

/// What has become of the self-check of a mail server.
Page PageOf(const CheckNews& news, const std::string& host);

/// The page in UTF-8, with "\n" line ends. In HTML its texts are escaped.
std::string PlainText(const Page& page);
std::string Html(const Page& page);

}  // namespace report
