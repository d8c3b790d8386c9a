// The mail log: scripted rows and totals; the criteria are noted in the journal.
#include "platform/mailvane/mail_log.h"

#include "tests/recording/call.h"

using namespace recording;

namespace {

using Rows = std::vector<MailLogInfo>;
using Text = std::string;

Words Describe(const LogFilter& filter)
{
    return {Line("{columns", filter.columns) + " " + Line("start", filter.start) + " " +
            Line("limit", filter.limit) + " " + Line("order", filter.order, filter.sortField) +
            " " + Line("id", filter.messageId) + " " + Line("to", filter.mailTo) + " " +
            Line("from", filter.mailFrom) + " " + Line("size", filter.sizeOp, filter.sizeBytes) +
            " " + Line("status", filter.status) + " " +
            Line("dates", filter.dateFrom, filter.dateTo) + "}"};
}

}  // namespace

MailLog::MailLog(const char* path) : state_(nullptr) { Call("MailLog::MailLog", path); }

MailLog::~MailLog() {}
int MailLog::error() { return Call("MailLog::error"); }
int MailLog::load(const LogFilter& filter, Rows& rows)
{
    return Fill(rows, TheWorld().logRows, Call("MailLog::load", Describe(filter)));
}
int MailLog::load(int limit, int start, const Text& sort, const Text& order, Rows& rows)
{
    return Fill(rows, TheWorld().logRows, Call("MailLog::load", limit, start, sort, order));
}
// NOLINTNEXTLINE(readability-function-size): the platform declares it so.
int MailLog::search(int limit, int start, const Text& sort, const Text& order, const Text& query,
                    Rows& rows)
{
    return Fill(rows, TheWorld().logRows,
                Call("MailLog::search", limit, start, sort, order, query));
}
int MailLog::getLogNum(const LogFilter& filter)
{
    return CallOr(TheWorld().logRows.size(), "MailLog::getLogNum", Describe(filter));
}
int MailLog::getLogNum(Text& query)
{
    return CallOr(TheWorld().logRows.size(), "MailLog::getLogNum", query);
}
int MailLog::clear() { return Call("MailLog::clear"); }
int MailLog::getQuantityStatistic(Statistic& statistic, long endTime, TimeScale scale)
{
    return Fill(statistic, TheWorld().statistic,
                Call("MailLog::getQuantityStatistic", endTime, scale));
}
int MailLog::getBandwidthStatistic(Statistic& statistic, long endTime, TimeScale scale)
{
    return Fill(statistic, TheWorld().statistic,
                Call("MailLog::getBandwidthStatistic", endTime, scale));
}
std::string GetPostfixLogPath() { return Given(TheWorld().postfixLogPath, "GetPostfixLogPath"); }
