// The mail log: criteria, search, order and pages.

#include <algorithm>

#include "tests/host/libmailvane/maillog/machine.h"

namespace {

const char kFew[] = R"(VALUES
    ('q1', '1', 'Plan', 100, 1000, 0, 'anna@x.test', 'Bob_B@y.test'),
    ('q2', '2', '100% "sure"', 200, 2000, 1, 'bert@x.test', 'bobxb@y.test'),
    ('q3', '3', 'Stra' || char(0xdf) || 'e ' || char(0xc4) || 'pfel', 300, 2000, 2, 'anna@x.test', ''),
    ('q4', '4', 'C:\plan', 400, 3000, 3, 'carl@x.test', 'dora@z.test'))";

LogFilter Where()
{
    return {};
}

/// Criteria of which some members are set: `Where(&LogFilter::member, value, ...)`.
template <typename Member, typename Value, typename... More>
LogFilter Where(Member LogFilter::*member, Value value, More... more)
{
    LogFilter filter = Where(more...);
    filter.*member = value;
    return filter;
}

class Criteria : public LogMachine {
protected:
    /// The entries of one page, their number checked against the count.
    std::string Listed(const LogFilter& filter)
    {
        std::vector<MailLogInfo> rows;
        MailLog log = Log();
        EXPECT_EQ(log.load(filter, rows), 0);
        EXPECT_EQ(log.getLogNum(filter), static_cast<int>(rows.size()));
        return Ids(rows);
    }

    std::string Found(std::string text)
    {
        std::vector<MailLogInfo> rows;
        MailLog log = Log();
        EXPECT_EQ(log.search(50, 0, "date", "asc", text, rows), 0);
        EXPECT_EQ(log.getLogNum(text), static_cast<int>(rows.size()));
        return Ids(rows);
    }
};

}  // namespace

TEST_F(Criteria, SelectBySizeWordTextStatusAndTime)
{
    Store(kFew);
    using F = LogFilter;
    const struct {
        const char *name, *want;
        LogFilter filter;
    } rows[] = {
        {"all", "4 3 2 1", {}},
        {"greater", "4", Where(&F::sizeOp, "gt", &F::sizeBytes, 2000)},
        {"at least", "4 3 2", Where(&F::sizeOp, ">=", &F::sizeBytes, 2000)},
        {"less", "1", Where(&F::sizeOp, "less", &F::sizeBytes, 2000)},
        {"at most", "3 2 1", Where(&F::sizeOp, "le", &F::sizeBytes, 2000)},
        {"equal", "3 2", Where(&F::sizeOp, "equal", &F::sizeBytes, 2000)},
        {"unknown word", "4 3 2 1", Where(&F::sizeOp, "size > 0; --", &F::sizeBytes, 2000)},
        {"any case", "3 1", Where(&F::mailTo, "ANNA")},
        {"two letters", "3 1", Where(&F::mailTo, "an")},
        {"percent sign", "", Where(&F::mailTo, "a%a")},
        {"other column", "", Where(&F::mailFrom, "plan")},
        {"underscore", "1", Where(&F::mailFrom, "b_B")},
        {"short and long", "", Where(&F::messageId, "4", &F::mailTo, "anna")},
        {"text and status", "3", Where(&F::mailTo, "anna", &F::status, 2)},
        {"from and to", "3 2", Where(&F::dateFrom, 200, &F::dateTo, 300)},
        {"unknown order", "1 2 3 4", Where(&F::order, "ASC", &F::sortField, "nonsense")},
        {"odd direction", "4 2 3 1", Where(&F::order, "asc; DROP", &F::sortField, "mail_to")},
    };
    for (const auto& row : rows) EXPECT_EQ(Listed(row.filter), row.want) << row.name;
}

TEST_F(Criteria, SearchFindsATextAnywhereAsItStands)
{
    Store(kFew);
    const std::pair<const char*, const char*> rows[] = {
        {"", "1 2 3 4"},       {"PLAN", "1 4"},
        {"la", "1 4"},         {"l", "1 3 4"},
        {"0% \"s", "2"},       {"%", "2"},
        {"b_b", "1"},          {":\\p", "4"},
        {"\\", "4"},           {"stra\xc3\x9f", "3"},
        {"\xc3\xa4pfel", "3"}, {"lan OR nna", ""},
        {"pla*", ""},          {"mail_to : anna", ""},
        {"\xff\xfe\xfd", ""},  {"'", ""},
    };
    for (const auto& [text, want] : rows) EXPECT_EQ(Found(text), want) << text;

    std::vector<MailLogInfo> entries;
    (void)Log().search(1, 1, "size", "asc", "x.test", entries);
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].subject, "100% \"sure\"");
    EXPECT_EQ(entries[0].sizeBytes, 2000U);
    EXPECT_EQ(std::mktime(&entries[0].time), 200);
}

namespace {

/// A log that is large enough for texts that are common: every entry is "@common", one in seven is
/// "seventh" as well.
class Pages : public LogMachine {
protected:
    void SetUp() override
    {
        LogMachine::SetUp();
        Store(R"(WITH RECURSIVE n (i) AS (VALUES (0) UNION ALL SELECT i + 1 FROM n WHERE i < 2499)
                 SELECT 'q' || i, i, iif(i % 7 = 3, 'seventh', ''), (i * 7919) % 1013,
                        (i * 104729) % 89, i % 4, 'to' || (i * 31) % 11 || '@common', i % 13 FROM n)");
    }

    /// What SQLite itself says about the order, without the index of it.
    std::vector<std::string> InOrder(const std::string& column, const std::string& direction,
                                     const std::string& condition)
    {
        std::string terms = "+" + column + " " + direction;
        if (column != "date") terms += ", date " + direction;
        SQLite::Database database = Open();
        SQLite::Statement query(database, "SELECT message_id FROM entry WHERE " + condition +
                                              " ORDER BY " + terms + ", id " + direction);
        std::vector<std::string> ids;
        while (query.executeStep()) ids.push_back(query.getColumn(0).getString());
        return ids;
    }

    static std::string Slice(const std::vector<std::string>& ids, int start, int limit)
    {
        std::string slice;
        const int end = std::min(start + limit, static_cast<int>(ids.size()));
        for (int i = start; i < end; ++i) {
            slice += (slice.empty() ? "" : " ") + ids[static_cast<std::size_t>(i)];
        }
        return slice;
    }
};

}  // namespace

TEST_F(Pages, OfAStatusAndATimeAreCountedHourByHour)
{
    Open().exec("DELETE FROM entry WHERE id % 5 = 0; UPDATE entry SET status = 1 WHERE id % 7 = 0");
    SQLite::Database database = Open();
    database.exec("UPDATE entry SET date = date * 60 + 1800");  // 17 hours
    MailLog log = Log();
    for (const int status : {-1, 0, 1, 2, 3, 7}) {
        for (const long from : {0L, 1L, 3599L, 3600L, 3601L, 30000L, 70000L, -9L}) {
            for (const long to : {0L, 3599L, 3600L, 7200L, 30000L, 36059L, 99999L, -9L}) {
                LogFilter filter;
                filter.status = status;
                filter.dateFrom = from;
                filter.dateTo = to;
                std::string where = "date >= " + std::to_string(from);
                if (to != 0) where += " AND date <= " + std::to_string(to);
                if (status != -1) where += " AND status = " + std::to_string(status);
                const auto ids = InOrder("date", "desc", where);
                EXPECT_EQ(log.getLogNum(filter), static_cast<int>(ids.size())) << where;
                for (const int start : {0, static_cast<int>(ids.size()) - 5}) {
                    std::vector<MailLogInfo> rows;
                    filter.start = start;
                    (void)log.load(filter, rows);
                    EXPECT_EQ(Ids(rows), Slice(ids, std::max(start, 0), 50)) << where;
                }
            }
        }
    }
}

TEST_F(Pages, OfEveryOrderAreThePiecesOfTheWholeList)
{
    MailLog log = Log();
    const auto check = [&](LogFilter filter, const std::string& text, const char* condition) {
        SCOPED_TRACE(filter.sortField + " " + filter.order + " " + condition);
        const auto ids = InOrder(filter.sortField, filter.order, condition);
        // In turn, left out, again, backwards, beyond the end.
        for (const int start : {0, 50, 100, 340, 340, 1249, 1250, 1251, 2450, 2499, 2500, 99999}) {
            std::vector<MailLogInfo> rows;
            filter.start = start;
            text.empty() ? log.load(filter, rows)
                         : log.search(50, start, filter.sortField, filter.order, text, rows);
            EXPECT_EQ(Ids(rows), Slice(ids, start, 50)) << start;
        }
    };
    for (const char* column : {"date", "message_id", "mail_from", "mail_to", "size", "status"}) {
        for (const char* direction : {"asc", "desc"}) {
            const LogFilter order =
                Where(&LogFilter::sortField, column, &LogFilter::order, direction);
            LogFilter bounced = order;
            bounced.status = 2;
            check(order, "", "1");
            check(bounced, "", "status = 2");
            check(order, "@common", "mail_to LIKE '%@common%'");
            check(order, "seventh", "subject = 'seventh'");
        }
    }
    for (const auto& [limit, want] : {std::pair{0, ""}, {-1, ""}, {3, "0 1 10"}}) {
        std::vector<MailLogInfo> rows;
        EXPECT_EQ(log.load(limit, -5, "message_id", "asc", rows), 0);
        EXPECT_EQ(Ids(rows), want);
    }
}
