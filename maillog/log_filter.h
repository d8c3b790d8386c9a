// Criteria, order and page of a mail-log query, from the request.
#pragma once

#include <json/value.h>

#include <string>

#include "platform/mailvane/mail_log.h"
#include "platform/web/web_man.h"

/// The current database.
constexpr char kMailLogPath[] = "/var/packages/Mailvane/target/etc/maillog/maillog.db";

/// The column for a sort key; "date" for an unknown key.
std::string SortColumn(const std::string& key);

/// The filter from the parameters "start", "limit", "dir" and "sort", and from the criteria, an
/// object or null. Throws Json::LogicError for a criterion that cannot be converted.
LogFilter ReadLogFilter(WebMan& web, const Json::Value& criteria);
