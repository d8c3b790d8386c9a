// Criteria, order and page of a mail-log query, as requests name them.
#include "maillog/log_filter.h"

#include <cstdlib>

#include "frame/number_parameter.h"

namespace {

/// A time in seconds since 1970; requests have it as decimal text.
long Seconds(const Json::Value& text)
{
    constexpr int kDecimal = 10;
    return std::strtol(text.asString().c_str(), nullptr, kDecimal);
}

/// Kilobytes as bytes, modulo 2^32: 4194304 KB become 0.
int KilobytesToBytes(int kilobytes)
{
    return static_cast<int>(static_cast<unsigned int>(kilobytes) << 10U);
}

void AddCriteria(const Json::Value& criteria, LogFilter& filter)
{
    if (criteria.isMember("message_id")) filter.messageId = criteria["message_id"].asString();
    if (criteria.isMember("mail_to")) filter.mailTo = criteria["mail_to"].asString();
    if (criteria.isMember("mail_from")) filter.mailFrom = criteria["mail_from"].asString();
    if (criteria.isMember("mail_size_opt")) filter.sizeOp = criteria["mail_size_opt"].asString();
    if (criteria.isMember("mail_size")) {
        filter.sizeBytes = KilobytesToBytes(criteria["mail_size"].asInt());
    }
    if (criteria.isMember("mail_status")) filter.status = criteria["mail_status"].asInt();
    if (criteria.isMember("date_from")) filter.dateFrom = Seconds(criteria["date_from"]);
    if (criteria.isMember("date_to")) filter.dateTo = Seconds(criteria["date_to"]);
}

}  // namespace

std::string SortColumn(const std::string& key)
{
    for (const char* column : {"message_id", "mail_from", "mail_to", "size", "status"}) {
        if (key == column) return key;
    }
    return "date";
}

LogFilter ReadLogFilter(WebMan& web, const Json::Value& criteria)
{
    LogFilter filter;
    filter.start = static_cast<int>(NumberParameter(web, "start", "0"));
    // Deliberate: without a limit no rows, only their number; the page of the log always has one.
    filter.limit = static_cast<int>(NumberParameter(web, "limit", "0"));
    filter.order = web.In("dir", "DESC");
    filter.sortField = SortColumn(web.In("sort", "date"));
    AddCriteria(criteria, filter);
    return filter;
}
