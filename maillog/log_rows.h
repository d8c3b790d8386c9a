// Mail-log entries as the page shows them.
#pragma once

#include <json/value.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/mailvane/mail_log.h"

/// The texts of the interface in a language; null when that is not installed.
Json::Value LoadTexts(const std::string& language);

/// A text of the section "maillog"; empty when the key is missing.
std::string LogText(const Json::Value& texts, const char* key);

/// Date ("%Y-%m-%d") and time of day ("%X") of an entry.
std::string DateText(const MailLogInfo& entry);
std::string TimeText(const MailLogInfo& entry);

/// A size in kilobytes with at most one decimal: "1.5KB".
std::string SizeText(std::uint32_t bytes);

/// The words for the values of `MailStatus`, looked up once for many entries.
class StatusTexts {
public:
    explicit StatusTexts(const Json::Value& texts);

    const std::string& Of(int status) const;

private:
    std::array<std::string, 5> texts_;  ///< the last one is for any other number
};

/// A JSON object for each entry, in order.
Json::Value LogRows(const std::vector<MailLogInfo>& entries, const Json::Value& texts);
