// The mail log: scripted rows and totals; the criteria are noted in the journal.
#include "platform/mailvane/mail_log.h"

#include "tests/recording/call.h"

using recording::Line;
using recording::TheWorld;

namespace {

using Rows = std::vector<MailLogInfo>;
using Text = std::string;

recording::Words Describe(const LogFilter& filter)
{
    return {Line("{columns", filter.columns) + " " + Line("start", filter.start) + " " +
            Line("limit", filter.limit) + " " + Line("order", filter.order, filter.sortField) +
            " " + Line("id", filter.messageId) + " " + Line("to", filter.mailTo) + " " +
            Line("from", filter.mailFrom) + " " + Line("size", filter.sizeOp, filter.sizeBytes) +
            " " + Line("status", filter.status) + " " +
            Line("dates", filter.dateFrom, filter.dateTo) + "}"};
}

}  // namespace

MailLog::MailLog(const char* path) : state_(nullptr)
{
    recording::Call("MailLog::MailLog", path);
}

MailLog::~MailLog() {}
NOTED(MailLog::error, (), ());
DONE(MailLog::load, (const LogFilter& filter, Rows& rows), (Describe(filter)),
     rows = TheWorld().logRows);
DONE(MailLog::load, (int limit, int start, const Text& sort, const Text& order, Rows& rows),
     (limit, start, sort, order), rows = TheWorld().logRows);
// NOLINTNEXTLINE(readability-function-size): the platform declares it so.
DONE(MailLog::search,
     (int limit, int start, const Text& sort, const Text& order, const Text& query, Rows& rows),
     (limit, start, sort, order, query), rows = TheWorld().logRows);
NOTED_OR(TheWorld().logRows.size(), MailLog::getLogNum, (const LogFilter& filter),
         (Describe(filter)));
NOTED_OR(TheWorld().logRows.size(), MailLog::getLogNum, (Text & query), (query));
NOTED(MailLog::clear, (), ());
DONE(MailLog::getQuantityStatistic, (Statistic & statistic, long endTime, TimeScale scale),
     (endTime, scale), statistic = TheWorld().statistic);
DONE(MailLog::getBandwidthStatistic, (Statistic & statistic, long endTime, TimeScale scale),
     (endTime, scale), statistic = TheWorld().statistic);
GIVEN(std::string, GetPostfixLogPath, (), (), TheWorld().postfixLogPath);
