// The mail log: totals of the overview.
#include "host/libmailvane/maillog/statistic.h"

#include <ctime>

#include "tests/host/libmailvane/maillog/machine.h"

namespace {

class Totals : public LogMachine {
protected:
    void TearDown() override
    {
        Zone("UTC");
        LogMachine::TearDown();
    }

    static void Zone(const char* name)
    {
        (void)::setenv("TZ", name, 1);
        ::tzset();
    }

    /// Received, sent and bounced of each period, each with a blank behind it.
    static std::string Text(const Statistic& statistic)
    {
        std::string text;
        for (std::size_t i = 0; i < statistic.inbound.size(); ++i) {
            text += std::to_string(statistic.inbound[i]) + "/" +
                    std::to_string(statistic.outbound[i]) + "/" +
                    std::to_string(statistic.bounce[i]) + " ";
        }
        return text;
    }
};

}  // namespace

TEST_F(Totals, HavePeriodsOfTheMachinesTimeZone)
{
    const struct {
        const char* zone;
        int scale;
        const char *end, *first, *last;  ///< starts of the first period and of the one after
        std::int64_t seconds;            ///< length of the last period
    } rows[] = {
        {"UTC", 24, "2026-11-21 13:30", "2026-11-20 14:00", "2026-11-21 14:00", 3600},
        {"UTC", 59, "2026-11-21 13:30", "2026-11-19 03:00", "2026-11-21 14:00", 3600},
        {"Asia/Kolkata", 2, "2026-11-21 13:30", "2026-11-21 12:00", "2026-11-21 14:00", 3600},
        // Days that are longer and shorter than others.
        {"Europe/Berlin", 7, "2026-10-25 01:00", "2026-10-19 00:00", "2026-10-26 00:00", 90000},
        {"Europe/Berlin", 30, "2026-03-29 23:59", "2026-02-28 00:00", "2026-03-30 00:00", 82800},
        // Weeks begin on Monday.
        {"UTC", 52, "2026-11-22 23:00", "2025-11-24 00:00", "2026-11-23 00:00", 604800},
        {"UTC", 12, "2026-02-28 12:00", "2025-03-01 00:00", "2026-03-01 00:00", 2419200},
    };
    const auto text = [](std::int64_t time) {
        const auto seconds = static_cast<std::time_t>(time);
        char buffer[32];
        return std::string(buffer,
                           std::strftime(buffer, sizeof buffer, "%F %R", localtime(&seconds)));
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.zone) + " " + std::to_string(row.scale));
        Zone(row.zone);
        std::tm end{};
        (void)::strptime(row.end, "%Y-%m-%d %R", &end);
        end.tm_isdst = -1;
        const auto bounds = host::maillog::PeriodBounds(std::mktime(&end), row.scale);
        ASSERT_EQ(bounds.size(), static_cast<std::size_t>(row.scale) + 1);
        EXPECT_EQ(text(bounds.front()), row.first);
        EXPECT_EQ(text(bounds.back()), row.last);
        EXPECT_EQ(bounds.back() - bounds[bounds.size() - 2], row.seconds);
    }
}

TEST_F(Totals, FollowEveryChangeOfTheEntries)
{
    Zone("UTC");
    const long end = 1795269660;  // 2026-11-21 14:01; the entries are minutes from 14:00
    Store(
        "SELECT column1, '', '', 1795269600 + 60 * column2, column3, column4, '', '' FROM (VALUES "
        "('a', -61, 10, 1), ('b', -60, 20, 0), ('c', -1, 30, 2), ('d', 0, 40, 1), "
        "('e', 59, 3000000000, 1), ('f', 60, 60, 1), ('g', 5, 70, 3))");
    const auto counts = [&] {
        Statistic statistic;
        (void)Log().getQuantityStatistic(statistic, end, static_cast<TimeScale>(3));
        return Text(statistic);
    };
    EXPECT_EQ(counts(), "1/0/0 0/1/1 2/0/0 ");
    Statistic bytes;
    (void)Log().getBandwidthStatistic(bytes, end, static_cast<TimeScale>(2));
    EXPECT_EQ(Text(bytes), "0/20/0 3000000040/0/0 ");

    Open().exec(
        "UPDATE entry SET status = 0 WHERE queue_id = 'g'; DELETE FROM entry WHERE queue_id = 'd'; "
        "UPDATE entry SET size = 5, date = 1795269600 - 5400 WHERE queue_id = 'b'");
    EXPECT_EQ(counts(), "1/1/0 0/0/1 1/1/0 ");
    ASSERT_EQ(Log().clear(), 0);
    EXPECT_EQ(counts(), "0/0/0 0/0/0 0/0/0 ");
    EXPECT_EQ(Log().getLogNum(LogFilter()), 0);
}

TEST_F(Totals, OfOddPeriodsNeverFailTheMachine)
{
    for (const long end :
         {-1L, std::numeric_limits<long>::max(), std::numeric_limits<long>::min()}) {
        for (const int scale : {-4, 1, 12, 52, 365}) {
            Statistic statistic;
            EXPECT_EQ(Log().getQuantityStatistic(statistic, end, static_cast<TimeScale>(scale)), 0);
        }
    }
    Statistic odd;
    EXPECT_EQ(Log().getBandwidthStatistic(odd, 17, static_cast<TimeScale>(2000000000)), -1);
}
