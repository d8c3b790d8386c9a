// Entries of the mail log as they are shown.
#pragma once

#include <json/value.h>

#include <cstdint>
#include <string>
#include <vector>

#include "platform/mailvane/mail_log.h"

/// The texts of the interface in a language; null when there are none.
Json::Value LoadTexts(const std::string& language);

/// The text of a key of the section "maillog"; empty when it is missing.
std::string LogText(const Json::Value& texts, const char* key);

/// Date ("%Y-%m-%d") and time of day ("%X") of an entry.
std::string DateText(const MailLogInfo& entry);
std::string TimeText(const MailLogInfo& entry);

/// A size in kilobytes with at most one decimal, "1.5KB".
std::string SizeText(std::uint32_t bytes);

/// The word for a `MailStatus`.
std::string StatusText(const Json::Value& texts, int status);

/// One object per entry, in their order; an empty array for none.
Json::Value LogRows(const std::vector<MailLogInfo>& entries, const Json::Value& texts);
