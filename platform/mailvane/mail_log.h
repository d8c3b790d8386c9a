// The mail-log database. Provided by libmailvane.so.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

/// The state of a message.
enum MailStatus : int { MAIL_SEND = 0, MAIL_RECEIVE = 1, MAIL_BOUNCE = 2, MAIL_RESEND = 3 };

/// Criteria, order and page of a query.
struct LogFilter {
    std::string columns = "*";  ///< "count(*)" when only the number is wanted
    int start = 0;
    int limit = 50;
    std::string order = "desc";
    std::string sortField = "date";
    std::string messageId;
    std::string mailTo;
    std::string mailFrom;
    std::string sizeOp = "any";  ///< how the size compares with `sizeBytes`
    int sizeBytes = 0;
    int status = -1;    ///< a `MailStatus`, -1 for any
    long dateFrom = 0;  ///< seconds since the epoch, 0 for no bound
    long dateTo = 0;    ///< seconds since the epoch, 0 for no bound
};

/// One entry: a message and one of its recipients.
struct MailLogInfo {
    std::string messageId;
    std::string subject;
    int recipients = 0;
    std::tm time{};
    std::uint32_t sizeBytes = 0;
    int status = MAIL_SEND;
    std::string mailTo;
    std::string mailFrom;
};

/// Totals of consecutive periods, the oldest first.
struct Statistic {
    std::vector<std::uint64_t> inbound;
    std::vector<std::uint64_t> outbound;
    std::vector<std::uint64_t> bounce;
};

/// The number of periods of a statistic, from which their length follows.
enum TimeScale : int {};

class MailLog {
public:
    /// Opens the database at `path`. Never throws; `error` tells whether it failed.
    explicit MailLog(const char* path);
    ~MailLog();
    MailLog(const MailLog&) = delete;
    MailLog& operator=(const MailLog&) = delete;

    /// Non-zero when the database could not be opened.
    int error();

    /// The page that the filter selects; negative on failure.
    int load(const LogFilter& filter, std::vector<MailLogInfo>& rows);
    /// A page of the whole log; negative on failure. Mind the order of the first two arguments.
    int load(int limit, int start, const std::string& sortField, const std::string& order,
             std::vector<MailLogInfo>& rows);
    /// A page of the rows that contain a text; negative on failure.
    int search(int limit, int start, const std::string& sortField, const std::string& order,
               const std::string& query, std::vector<MailLogInfo>& rows);
    /// The number of rows that a filter or a text selects; negative on failure.
    int getLogNum(const LogFilter& filter);
    int getLogNum(std::string& query);

    /// Deletes all entries; negative on failure.
    int clear();

    /// The messages, or bytes, in `scale` periods, the last of which contains `endTime` (seconds
    /// since the epoch). Each sequence has at least `scale` elements. Negative on failure.
    int getQuantityStatistic(Statistic& statistic, long endTime, TimeScale scale);
    int getBandwidthStatistic(Statistic& statistic, long endTime, TimeScale scale);

private:
    struct State;
    State* state_;  ///< owned
};

/// Path of the mail server's text log; empty when unknown.
std::string GetPostfixLogPath();
