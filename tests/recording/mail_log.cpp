// The mail log: scripted rows and totals; the criteria are noted in the journal.
#include "platform/mailvane/mail_log.h"

#include "tests/recording/call.h"

using recording::Call;
using recording::CallOr;
using recording::Line;
using recording::TheWorld;

namespace {

recording::Words Describe(const LogFilter& filter)
{
    return {Line("{columns", filter.columns) + " " + Line("start", filter.start) + " " +
            Line("limit", filter.limit) + " " + Line("order", filter.order, filter.sortField) +
            " " + Line("id", filter.messageId) + " " + Line("to", filter.mailTo) + " " +
            Line("from", filter.mailFrom) + " " + Line("size", filter.sizeOp, filter.sizeBytes) +
            " " + Line("status", filter.status) + " " +
            Line("dates", filter.dateFrom, filter.dateTo) + "}"};
}

int GiveRows(int result, std::vector<MailLogInfo>& rows)
{
    if (result >= 0) rows = TheWorld().logRows;
    return result;
}

}  // namespace

MailLog::MailLog(const char* path) : state_(nullptr)
{
    Call("MailLog::MailLog", path);
}

MailLog::~MailLog() {}

int MailLog::error()
{
    return Call("MailLog::error");
}

int MailLog::load(const LogFilter& filter, std::vector<MailLogInfo>& rows)
{
    return GiveRows(Call("MailLog::load", Describe(filter)), rows);
}

int MailLog::load(int limit, int start, const std::string& sortField, const std::string& order,
                  std::vector<MailLogInfo>& rows)
{
    return GiveRows(Call("MailLog::load", limit, start, sortField, order), rows);
}

// NOLINTNEXTLINE(readability-function-size): the platform declares it so.
int MailLog::search(int limit, int start, const std::string& sortField, const std::string& order,
                    const std::string& query, std::vector<MailLogInfo>& rows)
{
    return GiveRows(Call("MailLog::search", limit, start, sortField, order, query), rows);
}

int MailLog::getLogNum(const LogFilter& filter)
{
    return CallOr(static_cast<int>(TheWorld().logRows.size()), "MailLog::getLogNum",
                  Describe(filter));
}

int MailLog::getLogNum(std::string& query)
{
    return CallOr(static_cast<int>(TheWorld().logRows.size()), "MailLog::getLogNum", query);
}

int MailLog::clear()
{
    return Call("MailLog::clear");
}

int MailLog::getQuantityStatistic(Statistic& statistic, long endTime, TimeScale scale)
{
    const int result = Call("MailLog::getQuantityStatistic", endTime, scale);
    if (result >= 0) statistic = TheWorld().statistic;
    return result;
}

int MailLog::getBandwidthStatistic(Statistic& statistic, long endTime, TimeScale scale)
{
    const int result = Call("MailLog::getBandwidthStatistic", endTime, scale);
    if (result >= 0) statistic = TheWorld().statistic;
    return result;
}

std::string GetPostfixLogPath()
{
    Call("GetPostfixLogPath");
    return TheWorld().postfixLogPath;
}
