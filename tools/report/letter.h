// The report as a mail message.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace report {

struct Letter {
    std::string fromName;  ///< may be empty
    std::string fromMail;
    std::vector<std::string> to;  ///< mail addresses
    std::string host;             ///< name of the sending machine
    std::string subject;
    std::string plainText;  ///< UTF-8
    std::string html;       ///< UTF-8
    std::int64_t date = 0;  ///< seconds since the epoch
};

/// The message with its headers: "\r\n" line ends, only ASCII. No text of the letter can add a
/// header or end a MIME part.
std::string MessageOf(const Letter& letter);

}  // namespace report
