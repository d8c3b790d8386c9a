// Criteria, order and page of a mail-log query, as requests name them.
#pragma once

#include <json/value.h>

#include <string>

#include "platform/mailvane/mail_log.h"
#include "platform/web/web_man.h"

/// The current database.
constexpr char kMailLogPath[] = "/var/packages/Mailvane/target/etc/maillog/maillog.db";

/// The column that a sort key stands for; "date" for an unknown one.
std::string SortColumn(const std::string& key);

/// The filter of the parameters "start", "limit", "dir" and "sort" and of the criteria, an object
/// or null. Throws Json::LogicError for a criterion that cannot be converted.
LogFilter ReadLogFilter(WebMan& web, const Json::Value& criteria);
